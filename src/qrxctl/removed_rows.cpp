#include "qrxctl/removed_rows.h"

#include <algorithm>

#include "platform/error.h"
#include "platform/printable.h"
#include "platform/source_file.h"
#include "platform/text.h"

namespace iqrx::qrxctl {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view kKept = ".sql", kUndone = ".undone", kUnsettled = ".part";

// Items of a list in parentheses, which the text begins with; what stands in quotes or in further parentheses
// belongs to its item. Nothing when the list has no end.
std::optional<std::vector<std::string>> TakeList(std::string_view& text) {
    if (!text.starts_with('(')) return std::nullopt;
    std::vector<std::string> items(1);
    int depth = 0;
    bool quoted = false;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const char c = text[at];
        if (c == '\'') quoted = !quoted;
        if (!quoted && c == '(' && depth++ == 0) continue;
        if (!quoted && c == ')' && --depth == 0) {
            text.remove_prefix(at + 1);
            for (std::string& item : items) item = platform::Trim(item);
            return items;
        }
        if (!quoted && c == ',' && depth == 1)
            items.emplace_back();
        else
            items.back() += c;
    }
    return std::nullopt;
}

std::optional<RemovedRow> ParseInsert(std::string_view text) {
    constexpr std::string_view kInsert = "INSERT INTO ", kValues = "VALUES";
    const auto pass = [&](std::size_t count) { text = platform::Trim(text.substr(count)); };
    if (!text.starts_with(kInsert) || text.find('(') == std::string_view::npos) return std::nullopt;
    pass(text.find('('));
    auto columns = TakeList(text);
    pass(0);
    if (!columns || !text.starts_with(kValues)) return std::nullopt;
    pass(kValues.size());
    auto values = TakeList(text);
    pass(0);
    if (!values || values->size() != columns->size() || (!text.empty() && text != ";")) return std::nullopt;
    return RemovedRow{std::move(*columns), std::move(*values)};
}

}  // namespace

std::vector<RemovedRowsFile> RemovedRowsOf(const fs::path& directory, std::string_view run) {
    std::vector<RemovedRowsFile> files;
    const std::string begin = std::string(run) + "-";
    std::error_code failure;
    for (fs::directory_iterator entry(directory, failure), end; !failure && entry != end;
         entry.increment(failure)) {
        const std::string extension = platform::Utf8(entry->path().extension());
        const std::string name = platform::Utf8(entry->path().stem());
        if (!name.starts_with(begin) || (extension != kKept && extension != kUndone && extension != kUnsettled))
            continue;
        const std::string table = name.substr(begin.size(), name.find('.', begin.size()) - begin.size());
        if (table.find('-') != std::string::npos) continue;  // of the run RUN-2
        files.push_back({table, entry->path(), extension == kUndone, extension == kUnsettled});
    }
    if (failure && failure != std::errc::no_such_file_or_directory)
        throw platform::RuntimeError(
            platform::kPathFileAccess, platform::kProgram,
            platform::Shown(directory) + " cannot be read: " + platform::CauseOf(failure));
    std::ranges::sort(files, {}, &RemovedRowsFile::table);
    return files;
}

fs::path UndoneName(const fs::path& file) {
    fs::path undone = file;
    undone.replace_extension(kUndone);
    return undone;
}

std::string RemovedRow::WhereKey(const std::vector<std::string>& key) const {
    std::string where;
    for (const std::string& column : key) {
        const auto found = std::ranges::find_if(
            columns, [&](const std::string& name) { return platform::EqualIgnoringCase(name, column); });
        if (found == columns.end()) return {};
        where += (where.empty() ? "" : " AND ") + column + " = " +
                 values[static_cast<std::size_t>(found - columns.begin())];
    }
    return where;
}

RemovedRowsReader::RemovedRowsReader(const RemovedRowsFile& file)
    : file_(file), stream_(file.file, std::ios::binary) {
    if (!stream_) platform::RaiseRuntimeError(platform::kFileNotFound, platform::Shown(file.file));
}

std::optional<std::string> RemovedRowsReader::Next() {
    std::string statement, line;
    while (std::getline(stream_, line)) {
        ++line_;
        if (statement.empty() && (platform::Trim(line).empty() || line.starts_with("--"))) continue;
        statement += (statement.empty() ? "" : "\n") + line;
        if (std::ranges::count(statement, '\'') % 2 != 0) continue;  // a text goes on in the next line
        const auto row = ParseInsert(statement);
        if (!row && file_.mayBeCut && stream_.peek() == std::ifstream::traits_type::eof())
            return std::nullopt;
        if (!row) Fail();
        row_ = *row;
        return std::string(platform::Trim(statement, "; \r\n"));
    }
    if (stream_.bad() || (!statement.empty() && !file_.mayBeCut)) Fail();
    return std::nullopt;
}

void RemovedRowsReader::Fail() const {
    throw platform::RuntimeError(platform::kPathFileAccess, platform::kProgram,
                                 platform::Shown(file_.file) + ", line " + std::to_string(line_) +
                                     ": this is no whole INSERT statement");
}

}  // namespace iqrx::qrxctl
