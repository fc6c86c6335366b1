#include "platform/conversions.h"
#include "platform/error.h"
#include "tables/calendars/calendars.h"
#include "tables/calendars/failure_log.h"

namespace iqrx::tables {

using platform::Long;
using platform::Object;
using platform::Value;

namespace {

// Rounded downwards.
std::int64_t FloorQuotient(std::int64_t number, std::int64_t divisor) {
    const std::int64_t quotient = number / divisor;
    return number % divisor < 0 ? quotient - 1 : quotient;
}

std::int64_t Minutes(Long time) { return FloorQuotient(time, 100) * 60 + time % 100; }

// A value that is not a date fails here; NULL is for a moment that is Null or lies too far back.
std::string UtcLiteral(const runtime::SqlLiterals& literals, const Value& moment) {
    if (moment.Is<platform::Null>()) return "NULL";
    return literals.UtcDateLiteral(platform::ToDate(moment)).value_or("NULL");
}

std::string DateLiteral(const runtime::SqlLiterals& literals, const std::string& date) {
    if (literals.Platform() == runtime::kOracle) return "TO_DATE('" + date + "','yyyy/mm/dd')";
    return literals.QuoteSqlString(date);
}

// A value of the record; one that does not convert is told with its getter.
template <class Convert>
auto Read(Object& record, const char* getter, Convert convert) {
    const Value value = record.Get(getter);
    return platform::NamingPlace([&] { return convert(value); }, [&] { return std::string(getter); });
}

std::string Text(const Value& value) { return platform::ToText(value); }

void InsertInterval(CopyRun& run, Object& record, const std::string& tableName) {
    const runtime::SqlLiterals& literals = run.Literals();
    const auto utc = [&](const Value& moment) { return UtcLiteral(literals, moment); };
    const auto quoted = [&](const char* getter) { return literals.QuoteSqlString(Read(record, getter, Text)); };
    const std::string ustm = Read(record, "getStartutcdate", utc);
    const std::string uftm = Read(record, "getEndutcdate", utc);
    const std::string stdt = DateLiteral(literals, Read(record, "getStartDate", Text));
    const std::string endt = DateLiteral(literals, Read(record, "getEndDate", Text));
    const Value startTime = record.Get("getStartTime"), endTime = record.Get("getEndTime");
    const std::string ahrs = platform::NamingPlace(
        [&] { return DurationText(platform::ToLong(startTime), platform::ToLong(endTime)); },
        [] { return "getStartTime or getEndTime"; });
    run.Database().Execute("INSERT INTO " + tableName +
                           "(ccal,ract,stdt,sttm,endt,entm,cutm,ccap,ustm,uftm,ahrs,upd_flag) VALUES( " +
                           quoted("getCalendar") + "," + quoted("getAvailabilityType") + "," + stdt + "," +
                           literals.QuoteSqlString(Text(startTime)) + "," + endt + "," +
                           literals.QuoteSqlString(Text(endTime)) + "," + quoted("getCumulativeTime") + "," +
                           quoted("getCumulativeCapacity") + "," + ustm + "," + uftm + "," +
                           literals.QuoteSqlString(ahrs) + ",0)");
    control::Add(run.counters.inserted, 1);
}

}  // namespace

std::string DurationText(Long startTime, Long endTime) {
    const std::int64_t duration = Minutes(endTime) - Minutes(startTime);
    if (duration != static_cast<Long>(duration)) platform::RaiseRuntimeError(platform::kOverflow);
    const std::int64_t hours = FloorQuotient(duration, 60);
    return std::to_string(hours) + " Hours " + std::to_string(duration - hours * 60) + " Minutes";
}

void InsertCalendarRecord(CopyRun& run, const std::string& calendar, Object& record,
                          const std::string& tableName) {
    constexpr FailureText kInsertCalendarRecord{"STIT0023", "Insert Calendar Record"};
    LogFailureAndGoOn(run, kInsertCalendarRecord, CalendarNamed(calendar),
                      [&] { InsertInterval(run, record, tableName); });
}

}  // namespace iqrx::tables
