#include "sample/csv_file.h"

#include "platform/date.h"
#include "platform/error.h"

namespace iqrx::sample {

namespace {

bool NeedsQuotes(std::string_view text) {
    return text.find_first_of(",\"\r\n") != std::string_view::npos || text.starts_with(' ') ||
           text.ends_with(' ');
}

void AppendQuoted(std::string& line, std::string_view text) {
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

std::string Header(const Record& record) {
    std::string line;
    for (const Cell& cell : record) line.append(cell.column) += ',';
    line.back() = '\n';
    return line;
}

std::string Line(const Record& record) {
    std::string line;
    for (const Cell& cell : record) {
        if (NeedsQuotes(cell.text))
            AppendQuoted(line, cell.text);
        else
            line += cell.text;
        line += ',';
    }
    line.back() = '\n';
    return line;
}

TextFile::TextFile(const std::filesystem::path& path)
    : path_(path), stream_(path, std::ios::binary | std::ios::trunc) {
    Check();
}

void TextFile::Write(std::string_view text) {
    stream_ << text;
    Check();
}

void TextFile::Close() {
    stream_.close();
    Check();
}

void TextFile::Check() const {
    if (!stream_) platform::RaiseRuntimeError(platform::kPathFileAccess, path_.string());
}

TableFiles::TableFiles(const std::filesystem::path& directory, const std::string& table, const Record& first)
    : current(directory / (table + ".csv")), trail(directory / (table + ".audit.csv")) {
    current.Write(Header(first));
    trail.Write("changed_at,change," + Header(first));
}

void TableFiles::Write(const Change& change, const Record& record) {
    trail.Write(platform::IsoDateTime(change.at) + ',' + std::string(change.letter) + ',' + Line(record));
}

void TableFiles::Close() {
    current.Close();
    trail.Close();
}

}  // namespace iqrx::sample
