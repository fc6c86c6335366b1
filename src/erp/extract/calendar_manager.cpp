#include "erp/extract/calendar_manager.h"

#include "erp/extract/key_range.h"
#include "erp/extract/late_bound.h"
#include "platform/conversions.h"
#include "platform/date.h"

namespace iqrx::erp::extract {

namespace {

using platform::Argument;
using platform::Value;

class Intervals final : public RecordStream {
public:
    Intervals(const std::filesystem::path& file, std::vector<CalendarIndex::Run> runs, KeyRange types,
              std::string firstDate, std::string lastDate)
        : rows_(file, CalendarFields()),
          runs_(std::move(runs)),
          types_(std::move(types)),
          firstDate_(std::move(firstDate)),
          lastDate_(std::move(lastDate)) {}

    bool Read(Record& record) override {
        do {
            if (!NextRow()) return false;
        } while (!StartsInWindow() || !types_.Contains(rows_));
        for (std::size_t field = 0; field < CalendarFields().size(); ++field)
            rows_.Decode(field, record.At(field));
        return true;
    }

private:
    bool NextRow() {
        while (left_ == 0) {
            if (nextRun_ == runs_.size()) return false;
            rows_.Csv().Seek(runs_[nextRun_].start);
            left_ = runs_[nextRun_].rows;
            ++nextRun_;
        }
        --left_;
        return rows_.Next();
    }

    // Dates of this form compare as texts; the window may end on a day that its year does not have.
    bool StartsInWindow() const {
        const std::string_view date = rows_.Text(kStartDate);
        if (date.size() != 10 || !platform::ParseIsoDate(date))
            rows_.FailAt(kStartDate, "'" + std::string(date) + "' is no date YYYY-MM-DD");
        return firstDate_ <= date && date <= lastDate_;
    }

    TableReader rows_;
    std::vector<CalendarIndex::Run> runs_;
    std::size_t nextRun_ = 0;
    std::uint64_t left_ = 0;  // rows of the current run
    KeyRange types_;
    std::string firstDate_, lastDate_;
};

class NoIntervals final : public RecordStream {
public:
    bool Read(Record&) override { return false; }
};

}  // namespace

CalendarManager::CalendarManager(const std::filesystem::path& directory)
    : file_(directory / "calendars.csv"),
      shape_(std::make_shared<RecordShape>(CalendarFields())),
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
        return {};
    }
    RaiseNoSuchMember("The calendar manager", member);
}

// Calendars from and to, availability types from and to, first and last start date. The times of day that
// follow don't narrow the window: it is made of days.
Elements CalendarManager::Select(std::span<const Argument> arguments) {
    if (!Exists(file_)) return {std::make_unique<NoIntervals>(), shape_};
    if (!index_) index_.emplace(file_);
    auto runs = index_->Find(platform::ToText(arguments[0].value), platform::ToText(arguments[1].value));
    KeyRange types(kAvailabilityType, FieldKind::Text, arguments[2].value, arguments[3].value);
    return {std::make_unique<Intervals>(file_, std::move(runs), std::move(types),
                                        platform::ToText(arguments[4].value),
                                        platform::ToText(arguments[5].value)),
            shape_};
}

}  // namespace iqrx::erp::extract
