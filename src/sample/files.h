// The files of the extract, written record by record.
#pragma once

#include <filesystem>
#include <fstream>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "sample/world.h"

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
    explicit TextFile(const std::filesystem::path& path)
        : path_(path), stream_(path, std::ios::binary | std::ios::trunc) {
        Check();
    }
    void WriteLine(const std::string& line) { Write(line + '\n'); }
    void Write(std::string_view text) {
        stream_ << text;
        Check();
    }
    void Close() {  // writes what is left; without it the file may be cut short
        stream_.close();
        Check();
    }

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

// A table of which every extract has the same records, as they stand in the source tree's directory sample.
struct FixedTable {
    std::string_view name, current, trail;  // the texts of both files
};
std::span<const FixedTable> FixedTables();

// What does not change with the orders of the day but grows with them: addresses, employees, installations and so on.
void WriteMasterData(const std::filesystem::path& directory, const World& world);

// Intervals of every employee and service center.
void WriteCalendars(const std::filesystem::path& directory, const World& world);

// Orders with their activities, lines, assignments and planned activities, and what happened to them.
void WriteOrders(const std::filesystem::path& directory, const World& world);

}  // namespace iqrx::sample
