#include "platform/date.h"
#include "sample/files.h"

namespace iqrx::sample {

namespace {

using platform::AddDays;
using platform::AddMinutes;
using platform::Date;

// The copy asks for what starts between a month ago and 2038: with a week in every quarter there is something
// to copy whenever the sample is used, and the file stays small.
constexpr int kFirstYear = 2025, kLastYear = 2036;

constexpr int kUtcOffsetMinutes = 60;  // the sites keep UTC+1 all year

struct Interval {
    std::string_view type;
    int startDay, startTime;  // days after the Monday; hhmm
    int endDay, endTime;
};

// A working week and the weekend's watch; the night shift ends on the day after.
constexpr Interval kEmployeeWeek[] = {{"WRK", 0, 800, 4, 1700}, {"ONC", 5, 0, 5, 2400}};
constexpr Interval kCenterWeek[] = {
    {"WRK", 0, 700, 4, 1800}, {"NGT", 4, 2200, 5, 600}, {"ONC", 5, 630, 5, 1815}};

Date FirstMonday(int year, int month) {
    const Date first = platform::FromCivil({year, month, 1});
    return AddDays(first, (7 - Weekday(first)) % 7);
}

int MinutesOf(int time) { return time / 100 * 60 + time % 100; }

// Working minutes of an interval that repeats its times of day on each of its days.
int WorkingMinutes(const Interval& interval) {
    const int daily = MinutesOf(interval.endTime) - MinutesOf(interval.startTime);
    return daily > 0 ? daily * (interval.endDay - interval.startDay + 1) : daily + 24 * 60;
}

Record IntervalRecord(std::string_view calendar, const Interval& interval, Date monday, long minutesSoFar) {
    const Date start = AddDays(monday, interval.startDay), end = AddDays(monday, interval.endDay);
    return Record() << Cell("calendar", calendar) << Cell("availability_type", interval.type)
                    << Cell("start_date", platform::IsoDate(start)) << Cell("start_time", interval.startTime)
                    << Cell("end_date", platform::IsoDate(end)) << Cell("end_time", interval.endTime)
                    << Cell("cumulative_time", Hundredths(minutesSoFar * 100 / 60))
                    << Cell("cumulative_capacity", Hundredths(100))
                    << Cell("start_utc", AddMinutes(start, MinutesOf(interval.startTime) - kUtcOffsetMinutes))
                    << Cell("end_utc", AddMinutes(end, MinutesOf(interval.endTime) - kUtcOffsetMinutes));
}

void WriteCalendar(TextFile& csv, std::string_view calendar, std::span<const Interval> week) {
    long minutes = 0;
    for (int quarter = 0; quarter < 4 * (kLastYear - kFirstYear + 1); ++quarter) {
        const Date monday = FirstMonday(kFirstYear + quarter / 4, 1 + 3 * (quarter % 4));
        for (const Interval& interval : week) {
            minutes += WorkingMinutes(interval);
            csv.WriteLine(IntervalRecord(calendar, interval, monday, minutes).line);
        }
    }
}

}  // namespace

void WriteCalendars(const std::filesystem::path& directory, const World& world) {
    TextFile csv(directory / "calendars.csv");
    csv.WriteLine(IntervalRecord("", {}, {}, 0).header);
    // The retired and the new employee and center have a calendar, too.
    for (long index = 0; index < world.employees + 2; ++index)
        WriteCalendar(csv, EmployeeCode(index), kEmployeeWeek);
    for (long index = 0; index < world.centers + 2; ++index)
        WriteCalendar(csv, CenterCode(index), kCenterWeek);
    csv.Close();
}

}  // namespace iqrx::sample
