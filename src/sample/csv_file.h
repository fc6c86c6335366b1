// A table's files, written record by record.
#pragma once

#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <string_view>

#include "platform/value.h"

namespace iqrx::sample {

// A column's name and what a record has in it.
struct Cell {
    Cell(std::string_view name, std::string_view value) : column(name), text(value) {}
    Cell(std::string_view name, long number) : Cell(name, std::to_string(number)) {}
    Cell(std::string_view name, std::optional<platform::Date> moment);  // empty for none

    std::string_view column;  // a literal
    std::string text;
};

// A record and its header as lines of a CSV file, without their ends:
//     Record() << Cell("skll", code) << Cell("afct", Hundredths(125))
struct Record {
    std::string header, line;
};
Record&& operator<<(Record&& record, const Cell& cell);

// A real number with two decimals, kept whole so that it prints alike everywhere.
std::string Hundredths(long value);

// Created or replaced when it is opened. Every member raises platform::RuntimeError when it cannot be written.
class TextFile {
public:
    explicit TextFile(const std::filesystem::path& path);
    void WriteLine(const std::string& line) { Write(line + '\n'); }
    void Write(std::string_view text);
    void Close();  // writes what is left; without it the file may be cut short

private:
    void Check() const;

    std::filesystem::path path_;
    std::ofstream stream_;
};

// What happened to a record: it was inserted (I), updated (U) or deleted (D).
struct Change {
    platform::Date at;
    std::string_view letter;
};

// A table's current records and its audit trail. The columns are those of the first record.
struct TableFiles {
    TableFiles(const std::filesystem::path& directory, const std::string& table, const Record& first);
    void Write(const std::optional<Change>& change, const Record& record);  // without a change a current record
    void Close();

    TextFile current, trail;
};

}  // namespace iqrx::sample
