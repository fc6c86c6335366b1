// A CSV file read as the rows of a table, all of it or runs of rows: columns are found by the fields' names,
// cells become values.
#pragma once

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "erp/erp.h"
#include "platform/csv_reader.h"

namespace iqrx::erp::extract {

using platform::Argument;
using platform::CsvReader;
using platform::Long;
using platform::ObjectRef;
using platform::SourceFile;
using platform::Value;

class Record;

class Rows {
public:
    // Rows that follow each other.
    struct Run {
        CsvReader::Position start;
        std::uint64_t end = 0;  // the offset after the last of them
    };

    // Raises RuntimeError that names the file and the columns that its header lacks.
    Rows(std::shared_ptr<SourceFile> file, std::span<const FieldLayout> fields);
    // A header that has the needed columns will do; the fields without one are not read.
    Rows(std::shared_ptr<SourceFile> file, std::span<const FieldLayout> fields,
         const std::vector<std::string_view>& needed);

    void Restart(std::vector<Run> runs);                            // only these from now on, in their order
    Run Place() const { return {csv_.RowStart(), csv_.RowEnd()}; }  // of the current row
    bool Next();

    // Of the current row. Raises RuntimeError that names file, line and column for a cell that is not a value
    // of its kind.
    std::string_view Text(std::size_t field) const;
    Value Decode(std::size_t field) const;
    // Fills the record's fields; one that is not read keeps its value.
    void Decode(Record& record) const;
    [[noreturn]] void FailAt(std::size_t field, const std::string& what) const;

private:
    void Decode(std::size_t field, std::string_view cell, Value& into) const;

    CsvReader csv_;
    std::vector<FieldLayout> fields_;
    std::vector<std::optional<std::size_t>> columns_;
    std::optional<std::vector<Run>> runs_;  // none: the whole file
    std::size_t nextRun_ = 0;
    std::uint64_t runEnd_ = 0;
};

}  // namespace iqrx::erp::extract
