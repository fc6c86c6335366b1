#include "erp/extract/calendar_manager.h"

#include "erp/extract/key_range.h"
#include "erp/extract/late_bound.h"
#include "platform/conversions.h"
#include "platform/date.h"

namespace iqrx::erp::extract {

namespace {

std::string_view DateOf(const Rows& row, std::size_t field) {
    const std::string_view date = row.Text(field);
    if (date.size() != 10 || !platform::ParseIsoDate(date))
        row.FailAt(field, Quoted(date) + " is not a date YYYY-MM-DD");
    return date;
}

// Dates of this form compare as texts; the window may end on a day that its year does not have.
bool StartsBetween(const Rows& row, const std::string& first, const std::string& last) {
    const std::string_view date = DateOf(row, kStartDate);
    return first <= date && date <= last;
}

}  // namespace

CalendarManager::CalendarManager(const std::filesystem::path& directory, std::size_t indexBytes)
    : path_(directory / "calendars.csv"),
      indexBytes_(indexBytes),
      listings_({"getUTCActualCalendarForQRXWrapper", "sizeActualCalendar", "getActualCalendarAt"}) {}

Value CalendarManager::Invoke(std::string_view member, std::span<Argument> arguments) {
    if (member == "ListUTCActualCalendarForQRX") {
        ExpectArguments(arguments, 11);
        return listings_.NextPage([&] { return Select(arguments); }, arguments[8], arguments[9], arguments[10]);
    }
    if (member == "Initialize") {
        ExpectArguments(arguments, 1);  // the run parameter has named the directory already
        return {};
    }
    if (member == "Close") {
        ExpectArguments(arguments, 0);
        listings_.Close();
        index_.reset();
        failure_.reset();
        file_.reset();
        return {};
    }
    RaiseNoSuchMember("The calendar manager", member);
}

// Calendars from and to, availability types from and to, first and last start date. The times of day that
// follow don't narrow the window: it is made of days.
Elements CalendarManager::Select(std::span<const Argument> arguments) {
    const std::string from = platform::ToText(arguments[0].value), to = platform::ToText(arguments[1].value);
    const auto keep =
        [calendars = KeyRange(kCalendar, FieldKind::Text, from, to),
         types = KeyRange(kAvailabilityType, FieldKind::Text, arguments[2].value, arguments[3].value),
         first = platform::ToText(arguments[4].value),
         last = platform::ToText(arguments[5].value)](const Rows& row) {
            if (!calendars.Contains(row) || !StartsBetween(row, first, last) || !types.Contains(row))
                return false;
            DateOf(row, kEndDate);  // handed out as it stands, and days are counted up to it
            return true;
        };
    return {RecordsOf(std::make_shared<Rows>(RowsOf(from, to)), keep), CalendarFields()};
}

// The rows of one calendar are found by an index; several calendars need all of the file.
Rows CalendarManager::RowsOf(const std::string& from, const std::string& to) {
    if (!file_) file_ = std::make_shared<SourceFile>(path_, kErrorSource);
    if (from != to) return {file_, CalendarFields()};
    std::vector<Rows::Run> runs = IndexFor(from).Find(from);
    Rows rows(file_, CalendarFields());
    rows.Restart(std::move(runs));
    return rows;
}

const CalendarIndex& CalendarManager::IndexFor(const std::string& calendar) {
    if (failure_) throw *failure_;
    try {
        if (!index_ || !index_->Covers(calendar)) {
            index_.reset();
            index_.emplace(Rows(file_, CalendarFields()), calendar, indexBytes_);
        }
    } catch (const platform::RuntimeError& error) {
        failure_ = error;
        throw;
    }
    return *index_;
}

}  // namespace iqrx::erp::extract
