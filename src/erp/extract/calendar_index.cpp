#include "erp/extract/calendar_index.h"

#include <algorithm>
#include <array>

#include "erp/extract/key_range.h"

namespace iqrx::erp::extract {

namespace {

// Start and end dates are handed out as the texts that they are.
constexpr std::array<FieldLayout, 10> kFields{{
    {"getCalendar", "calendar", FieldKind::Text, true},
    {"getAvailabilityType", "availability_type", FieldKind::Text, true},
    {"getStartDate", "start_date", FieldKind::Text, true},
    {"getStartTime", "start_time", FieldKind::Whole},
    {"getEndDate", "end_date", FieldKind::Text},
    {"getEndTime", "end_time", FieldKind::Whole},
    {"getCumulativeTime", "cumulative_time", FieldKind::Text},
    {"getCumulativeCapacity", "cumulative_capacity", FieldKind::Text},
    {"getStartutcdate", "start_utc", FieldKind::Date},
    {"getEndutcdate", "end_utc", FieldKind::Date},
}};

}  // namespace

std::span<const FieldLayout> CalendarFields() { return kFields; }

CalendarIndex::CalendarIndex(const std::filesystem::path& file) {
    TableReader rows(file, kFields);
    auto current = runs_.end();
    while (rows.Next()) {
        const std::string_view calendar = rows.Text(kCalendar);
        if (current == runs_.end() || current->first != calendar) {
            current = runs_.try_emplace(std::string(calendar)).first;
            current->second.push_back({rows.Csv().RowPosition()});
        }
        ++current->second.back().rows;
    }
}

std::vector<CalendarIndex::Run> CalendarIndex::Find(const std::string& from, const std::string& to) const {
    const KeyRange range(kCalendar, FieldKind::Text, from, to);
    std::vector<Run> found;
    for (auto calendar = runs_.lower_bound(from); calendar != runs_.end() && calendar->first <= to; ++calendar)
        if (range.Contains(calendar->first))
            found.insert(found.end(), calendar->second.begin(), calendar->second.end());
    std::sort(found.begin(), found.end(),
              [](const Run& a, const Run& b) { return a.start.offset < b.start.offset; });
    return found;
}

}  // namespace iqrx::erp::extract
