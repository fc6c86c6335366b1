// Where each calendar's rows stand in calendars.csv: runs of rows that follow each other. Its size grows with
// the number of runs, so that one calendar after the other can be listed without reading the file each time.
#pragma once

#include <map>
#include <span>
#include <string>
#include <vector>

#include "erp/extract/table_reader.h"

namespace iqrx::erp::extract {

// The fields of an interval; the first three are those that a listing selects by.
enum CalendarField : std::size_t { kCalendar, kAvailabilityType, kStartDate };
std::span<const FieldLayout> CalendarFields();

class CalendarIndex {
public:
    struct Run {
        CsvReader::Position start;
        std::uint64_t rows = 0;
    };

    explicit CalendarIndex(const std::filesystem::path& file);  // reads the whole file once

    // The runs of the calendars from .. to, in the file's order.
    std::vector<Run> Find(const std::string& from, const std::string& to) const;

private:
    std::map<std::string, std::vector<Run>, std::less<>> runs_;
};

}  // namespace iqrx::erp::extract
