#include "sample/csv_file.h"

#include <algorithm>

#include "platform/date.h"
#include "platform/error.h"

namespace iqrx::sample {

namespace {

constexpr std::size_t kFlushAt = 1U << 16U;

void AppendPadded(std::string& text, int number, std::size_t width) {
    std::string digits = std::to_string(number);
    text.append(width > digits.size() ? width - digits.size() : 0, '0').append(digits);
}

bool NeedsQuotes(std::string_view text) {
    return text.find_first_of(",\"\r\n") != std::string_view::npos || text.starts_with(' ') ||
           text.ends_with(' ');
}

}  // namespace

CsvFile::CsvFile(const std::filesystem::path& path, std::string_view header)
    : path_(path),
      stream_(path, std::ios::binary | std::ios::trunc),
      buffer_(header),
      columns_(static_cast<std::size_t>(std::count(header.begin(), header.end(), ',')) + 1) {
    buffer_ += '\n';
    Flush();
}

CsvFile& CsvFile::operator<<(std::string_view text) {
    Separate();
    if (!NeedsQuotes(text)) {
        buffer_ += text;
        return *this;
    }
    buffer_ += '"';
    for (char c : text) {
        if (c == '"') buffer_ += '"';
        buffer_ += c;
    }
    buffer_ += '"';
    return *this;
}

CsvFile& CsvFile::operator<<(long number) {
    Separate();
    buffer_ += std::to_string(number);
    return *this;
}

CsvFile& CsvFile::operator<<(Hundredths number) {
    Separate();
    buffer_ += std::to_string(number.value / 100);
    buffer_ += '.';
    AppendPadded(buffer_, static_cast<int>(number.value % 100), 2);
    return *this;
}

CsvFile& CsvFile::operator<<(std::optional<platform::Date> moment) {
    Separate();
    if (!moment) return *this;
    const platform::CivilTime time = platform::ToCivil(*moment);
    AppendPadded(buffer_, time.year, 4);
    AppendPadded(buffer_ += '-', time.month, 2);
    AppendPadded(buffer_ += '-', time.day, 2);
    AppendPadded(buffer_ += ' ', time.hour, 2);
    AppendPadded(buffer_ += ':', time.minute, 2);
    AppendPadded(buffer_ += ':', time.second, 2);
    return *this;
}

void CsvFile::EndRow() {
    if (cells_ != columns_) {
        platform::RaiseRuntimeError(platform::kInvalidProcedureCall,
                                    path_.filename().string() + ": a row does not fit the header");
    }
    cells_ = 0;
    buffer_ += '\n';
    if (buffer_.size() >= kFlushAt) Flush();
}

void CsvFile::Close() {
    Flush();
    stream_.close();
    if (!stream_) platform::RaiseRuntimeError(platform::kPathFileAccess, path_.string());
}

void CsvFile::Separate() {
    if (cells_++ > 0) buffer_ += ',';
}

void CsvFile::Flush() {
    stream_ << buffer_;
    buffer_.clear();
    if (!stream_) platform::RaiseRuntimeError(platform::kPathFileAccess, path_.string());
}

TableFiles::TableFiles(const std::filesystem::path& directory, std::string_view table, std::string_view header)
    : current(directory / (std::string(table) + ".csv"), header),
      trail(directory / (std::string(table) + ".audit.csv"), "changed_at,change," + std::string(header)) {}

void TableFiles::Close() {
    current.Close();
    trail.Close();
}

}  // namespace iqrx::sample
