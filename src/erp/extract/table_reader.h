// A CSV file read as the rows of a table: columns are found by the fields' names, cells become values.
#pragma once

#include <string>
#include <vector>

#include "erp/extract/csv_reader.h"
#include "erp/extract/record_stream.h"

namespace iqrx::erp::extract {

class TableReader {
public:
    // Raises RuntimeError that names file and column when a key field has no column.
    TableReader(const std::filesystem::path& file, std::span<const FieldLayout> fields);

    CsvReader& Csv() { return csv_; }
    bool Next() { return csv_.Next(); }

    // Of the current row; a field without a column reads as missing. Raises RuntimeError that names file,
    // line and column for a cell that is no value of its kind.
    std::string_view Text(std::size_t field) const;
    void Decode(std::size_t field, platform::Value& into) const;
    platform::Value Decode(std::size_t field) const;
    [[noreturn]] void FailAt(std::size_t field, const std::string& what) const;

private:
    static constexpr std::size_t kNoColumn = static_cast<std::size_t>(-1);

    CsvReader csv_;
    std::span<const FieldLayout> fields_;
    std::vector<std::size_t> columns_;
};

}  // namespace iqrx::erp::extract
