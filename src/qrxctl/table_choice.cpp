#include "qrxctl/table_choice.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <sstream>
#include <string_view>

#include "hosting/dispatch.h"
#include "platform/text.h"
#include "qrxctl/command.h"
#include "qrxctl/help.h"

namespace iqrx::qrxctl {

namespace {

struct Group {
    std::string_view name, tables;
};

constexpr std::array kGroups{
    Group{"master", "tsmdm030 tsmdm100 tsmdm105 tsmdm130 tsmdm135 tsmdm140 tsclm020 tsclm024 tccom130"},
    Group{"configuration", "tsmdm000 tscfg220 tscfg200 tcccp001"},
    Group{"orders", "tssoc200 tssoc205 tssoc206 tssoc210 tsspc200"},
    Group{"calendars", "tcccp030 tcccp031"},
};

// '*' stands for any letters, '?' for one.
bool Matches(std::string_view pattern, std::string_view name) {
    if (pattern.empty()) return name.empty();
    if (pattern.front() == '*')
        return Matches(pattern.substr(1), name) || (!name.empty() && Matches(pattern, name.substr(1)));
    return !name.empty() && (pattern.front() == '?' || pattern.front() == name.front()) &&
           Matches(pattern.substr(1), name.substr(1));
}

std::vector<std::string> WordsOf(const std::vector<std::string>& wanted) {
    std::vector<std::string> words;
    for (const std::string& each : wanted) {
        std::istringstream list(each);
        for (std::string word; std::getline(list, word, ',');)
            if (!word.empty()) words.push_back(word);
        if (each.empty()) words.emplace_back();
    }
    return words;
}

bool Names(const std::string& word, const std::string& table) {
    const std::string lower = platform::Lower(table), wanted = platform::Lower(word);
    return Matches(wanted, lower) || GroupOf(lower) == wanted;
}

}  // namespace

std::vector<std::string> TablesOf(const control::TableCatalog& catalog) {
    std::vector<std::string> tables;
    for (int id = 0; id < control::TableCatalog::kLastId; ++id)
        if (std::string table = catalog.GetTableName(id); !table.empty()) tables.push_back(std::move(table));
    return tables;
}

std::vector<std::string> TablesWithACopy() {
    std::vector<std::string> tables;
    for (const control::TableRoutine& routine : hosting::Tables()) tables.emplace_back(routine.table);
    return tables;
}

std::string GroupOf(const std::string& table) {
    for (const Group& group : kGroups)
        if (group.tables.find(table) != std::string_view::npos) return std::string(group.name);
    return {};
}

std::string WordsFor(const std::vector<std::string>& tables, const std::vector<std::string>& catalog) {
    const auto isMeant = [&](const std::string& table) {
        return std::ranges::find(tables, table) != tables.end();
    };
    if (catalog.size() > 1 && std::ranges::all_of(catalog, isMeant)) return "--all";
    std::vector<std::string> words;
    for (const std::string& table : tables) {
        const std::string group = GroupOf(platform::Lower(table));
        const auto isOfIt = [&](const std::string& other) { return GroupOf(platform::Lower(other)) == group; };
        const bool isWhole = !group.empty() && std::ranges::count_if(catalog, isOfIt) > 1 &&
                             std::ranges::all_of(catalog, [&](const std::string& other) {
                                 return !isOfIt(other) || isMeant(other);
                             });
        const std::string& word = isWhole ? group : table;
        if (std::ranges::find(words, word) == words.end()) words.push_back(word);
    }
    return fmt::format("{}", fmt::join(words, " "));
}

std::vector<std::string> ChooseTables(const std::vector<std::string>& known,
                                      const std::vector<std::string>& wanted) {
    const std::vector<std::string> words = WordsOf(wanted);
    if (words.empty() && !wanted.empty()) throw UsageError("no table is named");
    for (const std::string& word : words)
        if (std::ranges::none_of(known, [&](const std::string& table) { return Names(word, table); })) {
            const std::string nearest = Nearest(platform::Lower(word), known);
            throw UsageError("no table \"" + word + "\" in the catalog" +
                             (nearest.empty() ? "" : "; did you mean " + nearest + "?"));
        }
    std::vector<std::string> chosen;
    for (const std::string& table : known)
        if (std::ranges::any_of(words, [&](const std::string& word) { return Names(word, table); }))
            chosen.push_back(table);
    return chosen;
}

}  // namespace iqrx::qrxctl
