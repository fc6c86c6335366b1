#include "journal/ledger_text.h"

#include <nlohmann/json.hpp>

#include "platform/date.h"
#include "platform/error.h"

namespace iqrx::journal {

namespace {

using Json = nlohmann::ordered_json;

constexpr int kSchema = 1;

platform::Date ReadDate(const Json& text) {
    return platform::ParseIsoDate(text.get_ref<const std::string&>()).value();
}

Json JsonOf(const TableLedger& table) {
    Json gaps = Json::array();
    for (const Stretch& gap : table.gaps)
        gaps.push_back({{"from", platform::IsoDateTime(gap.from)}, {"to", platform::IsoDateTime(gap.to)}});
    return {{"read_to", platform::IsoDateTime(table.readTo)},
            {"gaps", gaps},
            {"noted", platform::IsoDateTime(table.noted.local)},
            {"uptime", table.noted.uptime.count()},
            {"boot", table.boot}};
}

TableLedger ReadTable(const Json& json) {
    TableLedger table;
    table.readTo = ReadDate(json.at("read_to"));
    for (const Json& gap : json.at("gaps"))
        table.gaps.push_back({ReadDate(gap.at("from")), ReadDate(gap.at("to"))});
    table.noted = {ReadDate(json.at("noted")), std::chrono::seconds(json.at("uptime").get<std::int64_t>())};
    table.boot = json.at("boot").get<std::string>();
    return table;
}

}  // namespace

std::string TextOf(const LedgerTables& tables) {
    Json all = Json::object();
    for (const auto& [name, table] : tables) all[name] = JsonOf(table);
    constexpr int kIndent = 1;
    return Json{{"schema", kSchema}, {"tables", all}}.dump(kIndent, ' ', false, Json::error_handler_t::replace) +
           '\n';
}

std::optional<LedgerTables> ReadLedger(std::string_view text) {
    try {
        const Json json = Json::parse(text);
        if (json.at("schema").get<int>() > kSchema)
            throw platform::RuntimeError(platform::kPathFileAccess, platform::kProgram,
                                         "made by a newer version");
        LedgerTables tables;
        for (const auto& [name, table] : json.at("tables").items()) tables.emplace(name, ReadTable(table));
        return tables;
    } catch (const Json::exception&) {
        return std::nullopt;
    } catch (const std::bad_optional_access&) {
        return std::nullopt;
    }
}

}  // namespace iqrx::journal
