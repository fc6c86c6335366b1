#include "journal/run_sheet.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <system_error>

#include "journal/files.h"
#include "journal/flat_json.h"
#include "platform/error.h"
#include "platform/text.h"

namespace iqrx::journal {

namespace {

std::string TextOf(const SheetText& sheet) {
    const nlohmann::ordered_json text{{"schema", 1},
                                      {"table", sheet.table},
                                      {"run", sheet.run},
                                      {"program", sheet.program},
                                      {"method", sheet.method},
                                      {"since", sheet.since},
                                      {"pid", sheet.by.pid},
                                      {"user", sheet.by.user},
                                      {"host", sheet.by.host},
                                      {"terminal", sheet.by.terminal}};
    return text.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + '\n';
}

void Set(SheetText& sheet, std::string_view key, std::string_view value) {
    std::string* const member = key == "run"        ? &sheet.run
                                : key == "program"  ? &sheet.program
                                : key == "method"   ? &sheet.method
                                : key == "since"    ? &sheet.since
                                : key == "user"     ? &sheet.by.user
                                : key == "host"     ? &sheet.by.host
                                : key == "terminal" ? &sheet.by.terminal
                                                    : nullptr;
    if (member != nullptr) member->assign(value);
}

SheetText ReadSheet(const std::string& table, std::string_view text) {
    SheetText sheet;
    sheet.table = table;
    ReadObject(text, [&](std::string_view key, const Scalar& value) {
        if (const auto* words = std::get_if<std::string_view>(&value)) Set(sheet, key, *words);
        if (const auto* number = std::get_if<std::int64_t>(&value); number != nullptr && key == "pid")
            sheet.by.pid = static_cast<long>(*number);
    });
    return sheet;
}

// Of a sheet that nobody holds. One that names no host was written here, or not to its end: a file system
// that is shared would show another host's in whole.
SheetState FreeSheet(SheetText sheet, const platform::Host& host) {
    const bool here = sheet.by.host.empty() || sheet.by.host == host.Self().host;
    return {here ? Holder::Dead : Holder::Elsewhere, std::move(sheet)};
}

// Other files may lie beside the sheets: those that are about to become one.
bool IsTable(std::string_view name) {
    return !name.empty() && std::ranges::all_of(name, [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
    });
}

std::filesystem::path SheetFile(const StateDirectory& directory, const std::string& table) {
    if (!IsTable(table))
        throw platform::RuntimeError(platform::kInvalidProcedureCall, platform::kProgram,
                                     "no table has the name " + table);
    return directory.Sheets() / table;
}

SheetState Look(const StateDirectory& directory, const std::string& table) {
    const auto file = SheetFile(directory, table);
    const bool held = directory.Host().IsHeld(file);
    const auto text = ReadText(file);
    if (!text) return {Holder::Nobody, ReadSheet(table, {})};
    SheetText sheet = ReadSheet(table, *text);
    if (held) return {Holder::Living, std::move(sheet)};
    return FreeSheet(std::move(sheet), directory.Host());
}

}  // namespace

RunSheet::RunSheet(std::unique_ptr<platform::HeldFile> file, std::string before)
    : file_(std::move(file)), before_(std::move(before)) {}

RunSheet::~RunSheet() {
    if (file_) file_->Remove();
}

void RunSheet::PutBack() noexcept {
    if (!file_ || before_.empty()) return;  // the destructor leaves none, as there was none
    try {
        file_->Write(before_);
        file_.reset();
    } catch (...) {
        // The disk is full: the sheet goes with the object.
    }
}

SheetState RunSheets::StateOf(const std::string& table) const {
    try {
        if (directory_.IsUsable()) return Look(directory_, table);
    } catch (...) {
        return {Holder::Elsewhere, ReadSheet(table, {})};
    }
    return {Holder::Nobody, ReadSheet(table, {})};
}

std::vector<SheetState> RunSheets::All() const {
    std::vector<SheetState> all;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(directory_.Sheets(), error), end; !error && entry != end;
         entry.increment(error)) {
        const std::string table = platform::Utf8(entry->path().filename());
        if (IsTable(table)) all.push_back(StateOf(table));
    }
    std::erase_if(all, [](const SheetState& state) { return state.holder == Holder::Nobody; });
    std::ranges::sort(all, {}, [](const SheetState& state) { return state.sheet.table; });
    return all;
}

TakenSheet RunSheets::Take(const SheetText& text) {
    TakenSheet taken{nullptr, {Holder::Nobody, ReadSheet(text.table, {})}};
    if (!directory_.IsWritable()) return taken;
    try {
        const auto file = SheetFile(directory_, text.table);
        auto held = directory_.Host().TryHold(file);
        if (!held) {
            taken.found = {Holder::Living, ReadSheet(text.table, ReadText(file).value_or(""))};
            return taken;
        }
        const std::string before = ReadText(file).value_or("");
        if (!held->IsNew()) taken.found = FreeSheet(ReadSheet(text.table, before), directory_.Host());
        platform::HeldFile& sheet = *held;
        taken.sheet = std::make_unique<RunSheet>(std::move(held), before);
        sheet.Write(TextOf(text));
    } catch (...) {
        // A sheet that could not be written is held all the same: it keeps others away.
        directory_.Note("the run sheet cannot be written: " + platform::CurrentError().description);
    }
    return taken;
}

}  // namespace iqrx::journal
