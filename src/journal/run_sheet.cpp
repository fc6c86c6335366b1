#include "journal/run_sheet.h"

#include <algorithm>
#include <array>
#include <charconv>
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

// Two signs of one sheet differ in bytes, not in length, and whoever reads between them finds that the check
// fits neither. The check covers the sheet, too: a sign that a former holder has left is not the next one's.
std::uint64_t CheckOf(std::string_view sheet, std::string_view sign) {
    constexpr std::uint64_t kBegin = 14695981039346656037U, kPrime = 1099511628211U;  // FNV-1a
    std::uint64_t check = kBegin;
    for (const std::string_view text : {sheet, sign})
        for (const char byte : text) check = (check ^ static_cast<unsigned char>(byte)) * kPrime;
    return check;
}

std::string Padded(std::string text, std::size_t width, char with) {
    return std::string(width - std::min(width, text.size()), with) + text;
}

std::string Hexadecimal(std::uint64_t number) {
    constexpr int kBase = 16;
    std::array<char, kBase> digits{};
    const auto end = std::to_chars(digits.begin(), digits.end(), number, kBase).ptr;
    return Padded({digits.begin(), end}, digits.size(), '0');
}

std::string LineOf(std::string_view sheet, const SignOfLife& sign) {
    constexpr std::size_t kWidth = 15;
    const std::string line = R"({"rows":)" + Padded(std::to_string(sign.rows), kWidth, ' ') +
                             R"(,"milliseconds":)" + Padded(std::to_string(sign.milliseconds), kWidth, ' ') +
                             R"(,"at":")" + sign.at + R"(","check":")";
    return line + Hexadecimal(CheckOf(sheet, line)) + "\"}\n";
}

// Nothing for a sign that is half written.
std::optional<SignOfLife> ReadSign(std::string_view sheet, std::string_view line) {
    SignOfLife sign;
    ReadObject(line, [&](std::string_view key, const Scalar& value) {
        const auto* number = std::get_if<std::int64_t>(&value);
        const auto* words = std::get_if<std::string_view>(&value);
        if (number && key == "rows") sign.rows = *number;
        if (number && key == "milliseconds") sign.milliseconds = *number;
        if (words && key == "at") sign.at = *words;
    });
    if (line != LineOf(sheet, sign)) return std::nullopt;
    return sign;
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

// The sheet and, below it, the last sign; both with their line breaks.
struct Lines {
    explicit Lines(std::string_view text) : sheet(text.substr(0, text.find('\n'))) {
        if (sheet.size() < text.size()) sheet = text.substr(0, sheet.size() + 1);
        sign = text.substr(sheet.size());
    }
    std::string_view sheet, sign;
};

// Of a sheet that somebody holds.
SheetState Held(const std::string& table, std::string_view text) {
    const Lines lines(text);
    return {Holder::Living, ReadSheet(table, lines.sheet), ReadSign(lines.sheet, lines.sign)};
}

// Of a sheet that nobody holds. One that names no host was written here, or not to its end: a file system
// that is shared would show another host's in whole.
SheetState Free(SheetState state, const platform::Host& host) {
    const bool here = state.sheet.by.host.empty() || state.sheet.by.host == host.Self().host;
    state.holder = here ? Holder::Dead : Holder::Elsewhere;
    return state;
}

// Nothing when there is no sheet.
std::optional<SheetState> Read(const std::string& table, const std::filesystem::path& file) {
    constexpr int kTries = 3;  // a sign is written in no time, once a second
    for (int attempt = 1;; ++attempt) {
        const auto text = ReadText(file);
        if (!text) return std::nullopt;
        SheetState state = Held(table, *text);
        if (state.sign || Lines(*text).sign.empty() || attempt == kTries) return state;
    }
}

SheetState Look(const StateDirectory& directory, const std::string& table) {
    const auto file = SheetFile(directory, table);
    const bool held = directory.Host().IsHeld(file);
    auto state = Read(table, file);
    if (!state) return {Holder::Nobody, ReadSheet(table, {})};
    return held ? *std::move(state) : Free(*std::move(state), directory.Host());
}

}  // namespace

RunSheet::RunSheet(std::unique_ptr<platform::HeldFile> file, std::string text, std::string before)
    : file_(std::move(file)), text_(std::move(text)), before_(std::move(before)) {}

RunSheet::~RunSheet() {
    if (file_) file_->Remove();
}

void RunSheet::Write() { file_->Write(text_); }

void RunSheet::Tell(const SignOfLife& sign) noexcept {
    if (!file_) return;
    try {
        file_->Write(text_ + LineOf(text_, sign));
    } catch (...) {
        // The disk is full: the last sign stays.
    }
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
            taken.found = Held(text.table, ReadText(file).value_or(""));
            return taken;
        }
        const std::string before = ReadText(file).value_or("");
        if (!held->IsNew()) taken.found = Free(Held(text.table, before), directory_.Host());
        taken.sheet = std::make_unique<RunSheet>(std::move(held), TextOf(text), before);
        taken.sheet->Write();
    } catch (...) {
        // A sheet that could not be written is held all the same: it keeps others away.
        directory_.Note("the run sheet cannot be written: " + platform::CurrentError().description);
    }
    return taken;
}

}  // namespace iqrx::journal
