#include "platform/conversions.h"
#include "platform/error.h"
#include "tables/calendars/calendars.h"
#include "tables/calendars/failure_log.h"

namespace iqrx::tables {

using platform::Literal;
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

constexpr runtime::Sql<11> kInsert =
    "INSERT INTO {table}(ccal,ract,stdt,sttm,endt,entm,cutm,ccap,ustm,uftm,ahrs,upd_flag) VALUES( "
    "{ccal},{ract},{stdt},{sttm},{endt},{entm},{cutm},{ccap},{ustm},{uftm},{ahrs},0)";

// A value that is not a date fails here; NULL is for a moment that is Null or lies too far back.
Literal UtcLiteral(const runtime::SqlLiterals& literals, const Value& moment) {
    if (moment.Is<platform::Null>()) return {};
    return literals.UtcDateLiteral(platform::ToDate(moment)).value_or(Literal());
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
    const Literal ustm = Read(record, "getStartutcdate", utc), uftm = Read(record, "getEndutcdate", utc);
    const std::string stdt = Read(record, "getStartDate", Text), endt = Read(record, "getEndDate", Text);
    const Value startTime = record.Get("getStartTime"), endTime = record.Get("getEndTime");
    const std::string ahrs = platform::NamingPlace(
        [&] { return DurationText(platform::ToLong(startTime), platform::ToLong(endTime)); },
        [] { return "getStartTime or getEndTime"; });
    const std::string ccal = Read(record, "getCalendar", Text),
                      ract = Read(record, "getAvailabilityType", Text), sttm = Text(startTime),
                      entm = Text(endTime), cutm = Read(record, "getCumulativeTime", Text),
                      ccap = Read(record, "getCumulativeCapacity", Text);
    const auto quoted = [&](const std::string& text) { return literals.QuoteSqlString(text); };
    const auto day = literals.Speaks().day;
    run.Database().Execute(kInsert.On(tableName, quoted(ccal), quoted(ract), day(stdt), quoted(sttm), day(endt),
                                      quoted(entm), quoted(cutm), quoted(ccap), ustm, uftm, quoted(ahrs)));
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
