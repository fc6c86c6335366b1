// A CSV file that is written row by row.
#pragma once

#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <string_view>

#include "platform/value.h"

namespace iqrx::sample {

// A real number with two decimals, kept whole so that it prints alike everywhere.
struct Hundredths {
    long value = 0;
};

class CsvFile {
public:
    // Creates or replaces the file; the header is the column names, separated by commas. Every member raises
    // platform::RuntimeError when the file cannot be written.
    CsvFile(const std::filesystem::path& path, std::string_view header);

    // The next cell of the row.
    CsvFile& operator<<(std::string_view text);
    CsvFile& operator<<(long number);
    CsvFile& operator<<(Hundredths number);
    CsvFile& operator<<(std::optional<platform::Date> moment);  // empty cell for none

    void EndRow();  // raises when the row has not as many cells as the header
    void Close();   // writes what is left; without it the file may be cut short

private:
    void Separate();
    void Flush();

    std::filesystem::path path_;
    std::ofstream stream_;
    std::string buffer_;
    std::size_t columns_;
    std::size_t cells_ = 0;
};

// The file of a table's current records and its audit trail.
struct TableFiles {
    TableFiles(const std::filesystem::path& directory, std::string_view table, std::string_view header);

    template <class Record>
    void Current(const Record& record) {
        current << record;
        current.EndRow();
    }

    template <class Record>
    void Change(platform::Date at, std::string_view letter, const Record& record) {
        trail << at << letter << record;
        trail.EndRow();
    }

    void Close();

    CsvFile current;
    CsvFile trail;
};

}  // namespace iqrx::sample
