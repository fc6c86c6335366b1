// A CSV file with a header row, read as a stream: UTF-8, comma, double quotes, LF or CRLF, line breaks
// allowed inside quotes, a byte-order mark passed over. Memory holds one row and a read-ahead of 64 KiB.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/source_file.h"

namespace iqrx::platform {

// Every member that reads raises RuntimeError that names the file, for a malformed row its line and column.
class CsvReader {
public:
    // A quote that is never closed must not pull the whole file into memory.
    static constexpr std::size_t kLongestRow = 16 * 1024 * 1024;

    struct Position {
        std::uint64_t offset = 0;  // bytes from the file's begin
        std::uint64_t line = 1;
    };

    // Reads the header. An empty file and one in UTF-16 are errors.
    CsvReader(const std::filesystem::path& file, std::string_view errorSource)
        : CsvReader(std::make_shared<SourceFile>(file, errorSource)) {}
    explicit CsvReader(std::shared_ptr<SourceFile> file);

    const std::vector<std::string>& Header() const { return header_; }
    std::optional<std::size_t> FindColumn(std::string_view name) const;

    bool Next();                                      // false at the end of the file
    std::string_view Cell(std::size_t column) const;  // valid until the next call of Next or Seek

    Position RowStart() const { return {bufferOffset_ + rowStart_, rowLine_}; }
    std::uint64_t RowEnd() const { return bufferOffset_ + rowStart_ + rowLength_; }
    void Seek(Position row);  // Next reads this row

    [[noreturn]] void FailAt(std::size_t column, const std::string& what) const {  // in the current row
        Fail(cells_[column].line, column, what);
    }
    [[noreturn]] void FailFile(const std::string& what) const {
        file_->Raise(kPathFileAccess, file_->Name() + " " + what);
    }
    [[noreturn]] void FailWithout(const std::vector<std::string_view>& columns) const;

private:
    struct CellPlace {
        std::size_t start, length;  // from the row's start
        std::uint64_t line;
    };

    void PassByteOrderMark();
    void RefuseUtf16();
    bool ReadRow();
    std::size_t ReadPlainCell(std::size_t at);
    std::size_t ReadQuotedCell(std::size_t at);
    bool EndCell(std::size_t& at);
    void RequireUtf8() const;
    void RefuseNul() const;
    bool Has(std::size_t at);
    bool Fill();
    char* Row() { return buffer_.data() + rowStart_; }
    [[noreturn]] void Fail(std::uint64_t line, std::size_t column, const std::string& what) const;
    [[noreturn]] void FailSeparatedBy(char separator) const;

    std::shared_ptr<SourceFile> file_;
    std::vector<std::string> header_;

    std::vector<char> buffer_;
    std::uint64_t bufferOffset_ = 0;  // of the buffer's first byte in the file
    std::size_t filled_ = 0, chunk_;
    std::size_t rowStart_ = 0, rowLength_ = 0;
    std::uint64_t rowLine_ = 1, nextLine_ = 1;
    std::vector<CellPlace> cells_;
};

}  // namespace iqrx::platform
