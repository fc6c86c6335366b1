// Where the rows of calendars stand in calendars.csv, so that one calendar after the other can be listed
// without reading all of the file each time. Its size is bounded, in whatever order the file is: where there
// is no room for all calendars, it covers a stretch of them, and the others need an index of their own.
#pragma once

#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "erp/extract/rows.h"

namespace iqrx::erp::extract {

// The fields of an interval; the first three are those that a listing selects by.
enum CalendarField : std::size_t { kCalendar, kAvailabilityType, kStartDate, kStartTime, kEndDate };
std::span<const FieldLayout> CalendarFields();

// Runs of rows in the file's order, in a few bytes each. There are at most kMostRuns: of more, every second
// one is joined to the one before, with the rows that lie between them.
class RunList {
public:
    static constexpr std::size_t kMostRuns = 64 * 1024;

    void Add(const Rows::Run& run);  // one that follows the last run makes it longer
    std::vector<Rows::Run> All() const;

    std::size_t Size() const { return coded_.size() + sizeof *this; }  // in bytes

private:
    void Append(const Rows::Run& run);
    void JoinPairs();

    std::string coded_;  // the runs but the last: differences from the one before, seven bits a byte
    std::size_t count_ = 0;
    Rows::Run before_, last_;
};

class CalendarIndex {
public:
    static constexpr std::size_t kMostBytes = 3 * 1024 * 1024;

    // Reads all of the rows. Covers `first` and as many of the calendars after it as there is room for.
    CalendarIndex(Rows rows, std::string first, std::size_t mostBytes = kMostBytes);
    CalendarIndex(const CalendarIndex&) = delete;
    CalendarIndex& operator=(const CalendarIndex&) = delete;

    bool Covers(std::string_view calendar) const;
    // The runs that hold a covered calendar's rows, in the file's order. Others' rows may stand among them.
    std::vector<Rows::Run> Find(std::string_view calendar) const;

    std::size_t Size() const { return size_; }  // in bytes

private:
    using Calendars = std::map<std::string, RunList, std::less<>>;

    void Take(std::string_view calendar, const Rows::Run& row);
    void GiveUpTheLast();

    std::string first_;
    std::optional<std::string> beyond_;  // the first calendar after those that are covered
    std::size_t mostBytes_, size_ = 0;
    Calendars calendars_;
    Calendars::iterator current_ = calendars_.end();  // of the last covered row
};

}  // namespace iqrx::erp::extract
