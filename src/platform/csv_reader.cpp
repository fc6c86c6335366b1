#include "platform/csv_reader.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "platform/printable.h"
#include "platform/text.h"

namespace iqrx::platform {

namespace {

constexpr std::size_t kReadAhead = 64 * 1024;
// At first, and after a jump, little is read, so that short runs of rows far apart don't cost a whole read-ahead.
constexpr std::size_t kFirstRead = 4 * 1024;
constexpr std::string_view kOtherSeparators = ";\t|";

constexpr auto kEndsPlainCell = [] {
    std::array<bool, 256> ends{};
    for (const unsigned char c : {',', '\n', '\r', '"'}) ends[c] = true;
    return ends;
}();

}  // namespace

CsvReader::CsvReader(std::shared_ptr<SourceFile> file) : file_(std::move(file)), chunk_(kFirstRead) {
    buffer_.resize(kReadAhead);
    PassByteOrderMark();
    RefuseUtf16();
    if (!ReadRow()) FailFile("is empty: it lacks even a header row");
    for (std::size_t i = 0; i < cells_.size(); ++i) header_.emplace_back(Cell(i));
}

void CsvReader::PassByteOrderMark() {
    constexpr std::size_t kSize = kByteOrderMark.size();
    if (Has(kSize - 1) && std::string_view(Row(), kSize) == kByteOrderMark) rowStart_ = kSize;
}

// Two bytes a character: a mark that UTF-8 does not have, or the zeros of ASCII's characters.
void CsvReader::RefuseUtf16() {
    bool found =
        Has(1) && (std::string_view(Row(), 2) == "\xFF\xFE" || std::string_view(Row(), 2) == "\xFE\xFF");
    for (std::size_t at = 0; !found && Has(at) && Row()[at] != '\n'; ++at) found = Row()[at] == '\0';
    if (found) FailFile("looks like UTF-16; it must be UTF-8");
}

std::optional<std::size_t> CsvReader::FindColumn(std::string_view name) const {
    const auto found = std::find(header_.begin(), header_.end(), name);
    if (found == header_.end()) return std::nullopt;
    if (std::find(found + 1, header_.end(), name) != header_.end())
        FailFile("has two columns '" + std::string(name) + "'");
    return static_cast<std::size_t>(found - header_.begin());
}

bool CsvReader::Next() {
    if (!ReadRow()) return false;
    if (cells_.size() < header_.size()) Fail(rowLine_, cells_.size(), "the row ends before this column");
    if (cells_.size() > header_.size()) Fail(rowLine_, header_.size(), "the header has no such column");
    return true;
}

std::string_view CsvReader::Cell(std::size_t column) const {
    const CellPlace& cell = cells_[column];
    return {buffer_.data() + rowStart_ + cell.start, cell.length};
}

void CsvReader::Seek(Position row) {
    // Quoted cells are unquoted in place, so that only rows ahead can still be taken from the buffer.
    if (row.offset >= bufferOffset_ + rowStart_ + rowLength_ && row.offset <= bufferOffset_ + filled_) {
        rowStart_ = static_cast<std::size_t>(row.offset - bufferOffset_);
    } else {
        bufferOffset_ = row.offset;
        rowStart_ = filled_ = 0;
        chunk_ = kFirstRead;
    }
    rowLength_ = 0;
    nextLine_ = row.line;
}

bool CsvReader::ReadRow() {
    rowStart_ += rowLength_;
    rowLength_ = 0;
    rowLine_ = nextLine_;
    cells_.clear();
    if (!Has(0)) return false;
    std::size_t at = 0;
    do {
        at = Has(at) && Row()[at] == '"' ? ReadQuotedCell(at) : ReadPlainCell(at);
    } while (!EndCell(at));
    rowLength_ = at;
    if (!IsAscii({Row(), rowLength_})) RequireUtf8();
    if (std::memchr(Row(), '\0', rowLength_) != nullptr) RefuseNul();
    return true;
}

std::size_t CsvReader::ReadPlainCell(std::size_t at) {
    const std::size_t start = at;
    do {
        const char* const end = buffer_.data() + filled_;
        const char* next = Row() + at;
        while (next != end && !kEndsPlainCell[static_cast<unsigned char>(*next)]) ++next;
        at = static_cast<std::size_t>(next - Row());
        if (next != end) break;
    } while (Fill());
    cells_.push_back({start, at - start, nextLine_});
    return at;
}

std::size_t CsvReader::ReadQuotedCell(std::size_t at) {
    const std::uint64_t line = nextLine_;
    const std::size_t start = at + 1;
    std::size_t from = start, to = start;
    for (;;) {
        if (!Has(from)) Fail(line, cells_.size(), "the quote is not closed");
        const char* const text = Row() + from;
        const std::size_t available = filled_ - rowStart_ - from;
        const void* const quote = std::memchr(text, '"', available);
        const std::size_t length =
            quote ? static_cast<std::size_t>(static_cast<const char*>(quote) - text) : available;
        nextLine_ += static_cast<std::uint64_t>(std::count(text, text + length, '\n'));
        if (from != to) std::memmove(Row() + to, text, length);
        from += length;
        to += length;
        if (!quote) continue;
        ++from;
        if (!Has(from) || Row()[from] != '"') break;
        Row()[to++] = '"';
        ++from;
    }
    cells_.push_back({start, to - start, line});
    return from;
}

// Passes over the mark that ends a cell; true when it ends the row.
bool CsvReader::EndCell(std::size_t& at) {
    if (!Has(at)) return true;
    switch (Row()[at]) {
        case ',':
            ++at;
            return false;
        case '\r':
            if (!Has(at + 1) || Row()[at + 1] != '\n')
                Fail(nextLine_, cells_.size() - 1, "a carriage return stands outside quotes");
            ++at;
            [[fallthrough]];
        case '\n':
            ++at;
            ++nextLine_;
            return true;
        case '"':
            Fail(nextLine_, cells_.size() - 1, "a quote stands inside an unquoted cell");
        default:
            if (header_.empty() && kOtherSeparators.find(Row()[at]) != std::string_view::npos)
                FailSeparatedBy(Row()[at]);
            Fail(nextLine_, cells_.size() - 1, "text follows the closing quote");
    }
}

void CsvReader::RequireUtf8() const {
    for (std::size_t column = 0; column < cells_.size(); ++column)
        if (!IsUtf8(Cell(column))) FailAt(column, Quoted(Cell(column)) + " is not UTF-8");
}

// What a disk leaves of a file that was not written to its end.
void CsvReader::RefuseNul() const {
    for (std::size_t column = 0; column < cells_.size(); ++column)
        if (Cell(column).find('\0') != std::string_view::npos) FailAt(column, "the cell holds a zero byte");
}

bool CsvReader::Has(std::size_t at) {
    while (rowStart_ + at >= filled_)
        if (!Fill()) return false;
    return true;
}

// Reads on after what the buffer holds of the current row; false at the end of the file.
bool CsvReader::Fill() {
    if (rowStart_ > 0) {
        std::memmove(buffer_.data(), Row(), filled_ - rowStart_);
        bufferOffset_ += rowStart_;
        filled_ -= rowStart_;
        rowStart_ = 0;
    }
    if (filled_ == buffer_.size()) {
        if (filled_ >= kLongestRow)
            Fail(rowLine_, cells_.size(), "the row is longer than 16 MiB; is a quote not closed?");
        buffer_.resize(2 * buffer_.size());
    }
    const std::size_t wanted = std::min(chunk_, buffer_.size() - filled_);
    const std::size_t got = file_->Read(bufferOffset_ + filled_, buffer_.data() + filled_, wanted);
    filled_ += got;
    chunk_ = std::min(2 * chunk_, kReadAhead);
    return got > 0;
}

void CsvReader::Fail(std::uint64_t line, std::size_t column, const std::string& what) const {
    const std::string name = column < header_.size() ? Quoted(header_[column]) : std::to_string(column + 1);
    file_->Raise(kDeviceIoError,
                 file_->Name() + ", line " + std::to_string(line) + ", column " + name + ": " + what);
}

void CsvReader::FailWithout(const std::vector<std::string_view>& columns) const {
    const std::size_t separator = header_.front().find_first_of(kOtherSeparators);
    if (header_.size() == 1 && separator != std::string::npos) FailSeparatedBy(header_.front()[separator]);
    std::string names;
    for (const std::string_view column : columns)
        names += (names.empty() ? "'" : ", '") + std::string(column) + "'";
    FailFile((columns.size() == 1 ? "has no column " : "has no columns ") + names);
}

void CsvReader::FailSeparatedBy(char separator) const {
    FailFile("is separated by " + (separator == '\t' ? "tabs" : Quoted({&separator, 1})) + ", not by commas");
}

}  // namespace iqrx::platform
