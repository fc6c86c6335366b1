#include "erp/extract/calendar_index.h"

#include <array>
#include <iterator>
#include <utility>

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

std::size_t SizeOf(const std::pair<const std::string, RunList>& calendar) {
    constexpr std::size_t kOfNode = 48;
    return kOfNode + calendar.first.size() + calendar.second.Size();
}

}  // namespace

std::span<const FieldLayout> CalendarFields() { return kFields; }

CalendarIndex::CalendarIndex(Rows rows, std::string first, std::size_t mostBytes)
    : first_(std::move(first)), mostBytes_(mostBytes) {
    while (rows.Next()) Take(rows.Text(kCalendar), rows.Place());
}

bool CalendarIndex::Covers(std::string_view calendar) const {
    return calendar >= first_ && (!beyond_ || calendar < *beyond_);
}

std::vector<Rows::Run> CalendarIndex::Find(std::string_view calendar) const {
    const auto found = calendars_.find(calendar);
    return found == calendars_.end() ? std::vector<Rows::Run>() : found->second.All();
}

void CalendarIndex::Take(std::string_view calendar, const Rows::Run& row) {
    if (current_ == calendars_.end() || current_->first != calendar) {
        if (!Covers(calendar)) return;
        const auto [place, isNew] = calendars_.try_emplace(std::string(calendar));
        if (isNew) size_ += SizeOf(*place);
        current_ = place;
    }
    size_ -= SizeOf(*current_);
    current_->second.Add(row);
    size_ += SizeOf(*current_);
    while (size_ > mostBytes_ && calendars_.size() > 1) GiveUpTheLast();
}

void CalendarIndex::GiveUpTheLast() {
    const auto last = std::prev(calendars_.end());
    size_ -= SizeOf(*last);
    beyond_ = last->first;
    if (current_ == last) current_ = calendars_.end();
    calendars_.erase(last);
}

}  // namespace iqrx::erp::extract
