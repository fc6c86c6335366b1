#include "platform/conversions.h"
#include "platform/date.h"
#include "platform/error.h"
#include "tables/calendars/calendars.h"
#include "tables/calendars/failure_log.h"

namespace iqrx::tables {

using platform::CursorType;
using platform::Date;
using platform::LockType;
using platform::Recordset;
using platform::Value;
using runtime::Sql;

namespace {

constexpr FailureText kExpandCalendars{"STIT0023", "Expand Calendars"};

constexpr Sql<0> kAllIntervals = "select * from tcccp030";
constexpr Sql<1> kIntervals = "select * from tcccp030 WHERE  ccal={ccal}";
constexpr Sql<0> kNoPieces = "select * from tcccp031 WHERE  1=0";
constexpr Sql<0> kEmpty = "truncate table tcccp031 ";

struct Interval {
    Value calendar, availabilityType;  // texts
    Date start, end;                   // UTC
    int days;  // local day boundaries between the two; not above 0 for an interval of one piece
};

Date DateOf(Recordset& source, const char* field) {
    const Value value = source.Field(field);
    return platform::NamingPlace([&] { return platform::ToDate(value); }, [&] { return std::string(field); });
}

Interval ReadInterval(Recordset& source, const std::string& calendar) {
    return {calendar, platform::ToText(source.Field("ract")), DateOf(source, "ustm"), DateOf(source, "uftm"),
            platform::DaysBetween(DateOf(source, "stdt"), DateOf(source, "endt"))};
}

bool LacksMoment(Recordset& source) {
    return source.Field("ustm").Is<platform::Null>() || source.Field("uftm").Is<platform::Null>();
}

void AddPiece(Recordset& target, const Interval& interval, Date start, Date end) {
    target.AddNew();
    target.SetField(0, interval.calendar);
    target.SetField(1, interval.availabilityType);
    target.SetField(2, start);
    target.SetField(3, end);
    target.Update();
}

// Every piece keeps the interval's UTC times of day, while the local dates say how many there are.
void ExpandInterval(const Interval& interval, Recordset& target) {
    if (interval.days <= 0) return AddPiece(target, interval, interval.start, interval.end);
    for (int day = 0; day <= interval.days; ++day)
        AddPiece(target, interval, platform::AddDays(interval.start, day),
                 platform::AddDays(interval.end, day - interval.days));
}

void ExpandRow(CopyRun& run, Recordset& source, Recordset& target, Subject& subject) {
    subject = CalendarNamed(platform::ToText(source.Field("ccal")));
    if (LacksMoment(source))  // an interval without its moment has no day; the others have theirs
        LogFailure(run, kExpandCalendars, subject, [&] { ReadInterval(source, subject.code); });
    else
        ExpandInterval(ReadInterval(source, subject.code), target);
}

void ExpandRows(CopyRun& run, Recordset& source, Recordset& target, Subject& subject) {
    if (source.Bof() && source.Eof()) return;
    for (source.MoveFirst(); !source.Eof(); source.MoveNext()) ExpandRow(run, source, target, subject);
}

// Deletes the old pieces of the intervals once these can be read. The subject is a row's calendar while it is cut.
template <class DeletePieces>
void Expand(CopyRun& run, const platform::Statement& intervals, DeletePieces deletePieces, Subject& subject) {
    const Subject whole = subject;
    auto source = run.Database().OpenRecordset(intervals, CursorType::ForwardOnly, LockType::Optimistic);
    deletePieces();
    auto target = run.Database().OpenRecordset(kNoPieces(), CursorType::Keyset, LockType::Optimistic);
    ExpandRows(run, *source, *target, subject);
    subject = whole;
    source->Close();
    target->Close();
}

// Null when there is no file: most runs copy no calendar and have nothing to expand.
std::unique_ptr<platform::TextStream> OpenCalcodesFile(CopyRun& run) {
    try {
        return run.process.machine.files.OpenTextFile(CalcodesFilePath(run));
    } catch (const platform::RuntimeError& error) {
        if (error.number == platform::kFileNotFound) return nullptr;
        throw;
    }
}

}  // namespace

void ExpandCalendars(CopyRun& run) {
    Subject subject;
    LogFailure(run, kExpandCalendars, subject, [&] {
        Expand(
            run, kAllIntervals(), [&] { run.Database().Execute(kEmpty()); }, subject);
        run.process.runLog.LogTableCounts("tcccp031", 0, 0, 0);
    });
}

void ExpandListedCalendars(CopyRun& run) {
    Subject subject;
    LogFailure(run, kExpandCalendars, subject, [&] {
        const auto codes = OpenCalcodesFile(run);
        while (codes && !codes->AtEndOfStream()) {
            const std::string calendar = codes->ReadLine();
            subject = CalendarNamed(calendar);
            Expand(
                run, kIntervals(run.Literals().QuoteSqlString(calendar)),
                [&] { DeleteExpandedCalendar(run, calendar); }, subject);
        }
    });
}

}  // namespace iqrx::tables
