#include "calendars/calendars.h"
#include "platform/conversions.h"
#include "platform/error.h"

namespace iqrx::calendars {

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

// A value that is no date fails here; NULL is for moments that lie too far back.
std::string UtcLiteral(const runtime::SqlLiterals& literals, const Value& moment) {
    return literals.UtcDateLiteral(platform::ToDate(moment)).value_or("NULL");
}

std::string DateLiteral(const runtime::SqlLiterals& literals, const Value& date) {
    const std::string text = platform::ToText(date);
    if (literals.Platform() == runtime::kOracle) return "TO_DATE('" + text + "','yyyy/mm/dd')";
    return literals.QuoteSqlString(text);
}

}  // namespace

std::string DurationText(Long startTime, Long endTime) {
    const std::int64_t duration = Minutes(endTime) - Minutes(startTime);
    if (duration != static_cast<Long>(duration)) platform::RaiseRuntimeError(platform::kOverflow);
    const std::int64_t hours = FloorQuotient(duration, 60);
    return std::to_string(hours) + " Hours " + std::to_string(duration - hours * 60) + " Minutes";
}

void InsertCalendarRecord(CopyRun& run, Object& record, const std::string& tableName) {
    const runtime::SqlLiterals& literals = run.Literals();
    const auto quoted = [&](const Value& value) { return literals.QuoteSqlString(platform::ToText(value)); };
    const std::string ustm = UtcLiteral(literals, record.Get("getStartutcdate"));
    const std::string uftm = UtcLiteral(literals, record.Get("getEndutcdate"));
    const std::string stdt = DateLiteral(literals, record.Get("getStartDate"));
    const std::string endt = DateLiteral(literals, record.Get("getEndDate"));
    const Value startTime = record.Get("getStartTime");
    const Value endTime = record.Get("getEndTime");
    const std::string ahrs = DurationText(platform::ToLong(startTime), platform::ToLong(endTime));
    run.Database().Execute("INSERT INTO " + tableName +
                           "(ccal,ract,stdt,sttm,endt,entm,cutm,ccap,ustm,uftm,ahrs,upd_flag) VALUES( " +
                           quoted(record.Get("getCalendar")) + "," +
                           quoted(record.Get("getAvailabilityType")) + "," + stdt + "," + quoted(startTime) +
                           "," + endt + "," + quoted(endTime) + "," + quoted(record.Get("getCumulativeTime")) +
                           "," + quoted(record.Get("getCumulativeCapacity")) + "," + ustm + "," + uftm + "," +
                           literals.QuoteSqlString(ahrs) + ",0)");
    control::Add(run.counters.inserted, 1);
}

}  // namespace iqrx::calendars
