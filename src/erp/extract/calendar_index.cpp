#include "erp/extract/calendar_index.h"

#include <array>

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

CalendarIndex::CalendarIndex(Rows rows) {
    auto current = runs_.end();
    while (rows.Next()) {
        const std::string_view calendar = rows.Text(kCalendar);
        if (current == runs_.end() || current->first != calendar) {
            current = runs_.try_emplace(std::string(calendar)).first;
            current->second.push_back(rows.Place());
        }
        current->second.back().end = rows.Place().end;
    }
}

std::vector<Rows::Run> CalendarIndex::Find(std::string_view calendar) const {
    const auto found = runs_.find(calendar);
    return found == runs_.end() ? std::vector<Rows::Run>() : found->second;
}

}  // namespace iqrx::erp::extract
