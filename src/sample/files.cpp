#include "sample/files.h"

#include "platform/date.h"
#include "platform/error.h"

namespace iqrx::sample {

namespace {

void AppendCell(std::string& line, std::string_view text) {
    const bool plain = text.find_first_of(",\"\r\n") == std::string_view::npos && !text.starts_with(' ') &&
                       !text.ends_with(' ');
    if (plain) {
        line += text;
        return;
    }
    line += '"';
    for (const char c : text) line.append(c == '"' ? 2 : 1, c);
    line += '"';
}

}  // namespace

Cell::Cell(std::string_view name, std::optional<platform::Date> moment)
    : Cell(name, moment ? platform::IsoDateTime(*moment) : "") {}

std::string Hundredths(long value) {
    return std::to_string(value / 100) + '.' + std::to_string(100 + value % 100).substr(1);
}

Record&& operator<<(Record&& record, const Cell& cell) {
    if (!record.header.empty()) {
        record.header += ',';
        record.line += ',';
    }
    record.header += cell.column;
    AppendCell(record.line, cell.text);
    return std::move(record);
}

void TextFile::Check() const {
    if (!stream_) platform::RaiseRuntimeError(platform::kPathFileAccess, path_.string());
}

TableFiles::TableFiles(const std::filesystem::path& directory, const std::string& table, const Record& first)
    : current(directory / (table + ".csv")), trail(directory / (table + ".audit.csv")) {
    current.WriteLine(first.header);
    trail.WriteLine("changed_at,change," + first.header);
}

void TableFiles::Write(const std::optional<Change>& change, const Record& record) {
    if (!change) return current.WriteLine(record.line);
    trail.WriteLine(platform::IsoDateTime(change->at) + ',' + std::string(change->letter) + ',' + record.line);
}

void TableFiles::Close() {
    current.Close();
    trail.Close();
}

}  // namespace iqrx::sample
