// Where the rows of each calendar stand in calendars.csv: runs of rows that follow each other. Its size grows with
// the number of runs, so that one calendar after the other can be listed without reading the file each time.
#pragma once

#include <map>
#include <span>
#include <string>
#include <vector>

#include "erp/extract/rows.h"

namespace iqrx::erp::extract {

// The fields of an interval; the first three are those that a listing selects by.
enum CalendarField : std::size_t { kCalendar, kAvailabilityType, kStartDate };
std::span<const FieldLayout> CalendarFields();

class CalendarIndex {
public:
    explicit CalendarIndex(Rows rows);  // reads all of them

    std::vector<Rows::Run> Find(std::string_view calendar) const;  // in the file's order

private:
    std::map<std::string, std::vector<Rows::Run>, std::less<>> runs_;
};

}  // namespace iqrx::erp::extract
