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

constexpr unsigned kBits = 7;
constexpr std::uint64_t kMore = 1U << kBits;  // another byte follows

void Code(std::string& coded, std::uint64_t number) {
    for (; number >= kMore; number >>= kBits) coded += static_cast<char>(number % kMore | kMore);
    coded += static_cast<char>(number);
}

std::uint64_t Decode(const char*& coded) {
    std::uint64_t number = 0;
    for (unsigned shift = 0;; shift += kBits) {
        const auto byte = static_cast<unsigned char>(*coded++);
        number |= (byte % kMore) << shift;
        if (byte < kMore) return number;
    }
}

std::size_t SizeOf(const std::pair<const std::string, RunList>& calendar) {
    constexpr std::size_t kOfNode = 48;
    return kOfNode + calendar.first.size() + calendar.second.Size();
}

}  // namespace

std::span<const FieldLayout> CalendarFields() { return kFields; }

void RunList::Add(const Rows::Run& run) {
    if (last_.end == run.start.offset) {
        last_.end = run.end;
        return;
    }
    if (count_ == kMostRuns) JoinPairs();
    Append(run);
}

void RunList::Append(const Rows::Run& run) {
    if (count_++ > 0) {
        Code(coded_, last_.start.offset - before_.end);
        Code(coded_, last_.start.line - before_.start.line);
        Code(coded_, last_.end - last_.start.offset);
        before_ = last_;
    }
    last_ = run;
}

std::vector<Rows::Run> RunList::All() const {
    std::vector<Rows::Run> runs;
    if (count_ == 0) return runs;
    runs.reserve(count_);
    Rows::Run run;
    for (const char* next = coded_.data(); runs.size() + 1 < count_; runs.push_back(run)) {
        run.start.offset = run.end + Decode(next);
        run.start.line += Decode(next);
        run.end = run.start.offset + Decode(next);
    }
    runs.push_back(last_);
    return runs;
}

void RunList::JoinPairs() {
    const std::vector<Rows::Run> runs = All();
    *this = {};
    for (std::size_t i = 0; i + 1 < runs.size(); i += 2) Append({runs[i].start, runs[i + 1].end});
}

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
