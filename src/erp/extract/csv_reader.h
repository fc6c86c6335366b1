// A CSV file with a header row, read as a stream: comma, double quotes, LF or CRLF, line breaks allowed
// inside quotes, a byte-order mark passed over. Memory holds one row and a read-ahead of 64 KiB.
#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace iqrx::erp::extract {

// Every member that reads raises RuntimeError that names the file, for a malformed row its line and column.
class CsvReader {
public:
    struct Position {
        std::uint64_t offset = 0;  // bytes from the file's begin
        std::uint64_t line = 1;
    };

    explicit CsvReader(const std::filesystem::path& file);  // reads the header

    std::optional<std::size_t> FindColumn(std::string_view name) const;

    bool Next();                                      // false at the end of the file
    std::string_view Cell(std::size_t column) const;  // valid until the next call of Next or Seek

    Position RowPosition() const { return {bufferOffset_ + rowStart_, rowLine_}; }
    void Seek(Position row);  // Next reads this row

    [[noreturn]] void FailAt(std::size_t column, const std::string& what) const;  // in the current row
    [[noreturn]] void FailFile(const std::string& what) const;

private:
    struct CellPlace {
        std::size_t start, length;  // from the row's start
        std::uint64_t line;
    };

    bool ReadRow();
    std::size_t ReadPlainCell(std::size_t at);
    std::size_t ReadQuotedCell(std::size_t at);
    bool EndCell(std::size_t& at);
    bool Has(std::size_t at);
    bool Fill();
    char* Row() { return buffer_.data() + rowStart_; }
    [[noreturn]] void Fail(std::uint64_t line, std::size_t column, const std::string& what) const;

    std::filesystem::path file_;
    std::ifstream stream_;
    std::vector<std::string> header_;

    std::vector<char> buffer_;
    std::uint64_t bufferOffset_ = 0;  // of the buffer's first byte in the file
    std::size_t filled_ = 0, chunk_;
    std::size_t rowStart_ = 0, rowLength_ = 0;
    std::uint64_t rowLine_ = 1, nextLine_ = 1;
    std::vector<CellPlace> cells_;
};

}  // namespace iqrx::erp::extract
