#include "tables/calendars/calendars.h"

#include <utility>
#include <vector>

#include "engine/copy_pattern.h"
#include "platform/conversions.h"
#include "platform/date.h"
#include "platform/error.h"
#include "tables/calendars/failure_log.h"

namespace iqrx::tables {

using platform::Integer;
using platform::Long;
using platform::Object;
using platform::ObjectRef;
using platform::Value;
using runtime::Sql;

namespace {

constexpr const char* kTable = "tcccp030";

constexpr Sql<0> kMark = "UPDATE tcccp030 SET upd_flag=1";
constexpr Sql<0> kSweep = "DELETE FROM tcccp030 WHERE upd_flag = 1";
constexpr Sql<1> kDelete = "DELETE FROM tcccp030 WHERE ccal = {ccal}";
constexpr Sql<1> kDeleteExpanded = "DELETE FROM tcccp031 WHERE ccal = {ccal}";
constexpr Sql<1> kEmployee = "SELECT * FROM tsmdm140 WHERE emno = {emno}";

constexpr FailureText kCopyCalendar{"SLBL0049", "Copy Calender Of Employee"};
constexpr FailureText kCopyEmployeeCalendar{"SLBL0050", "Copy Calendar of Employee"};

// The ERP's calendar service: the intervals of a calendar, already in UTC, in pages. Every member raises
// RuntimeError.
class CalendarService {
public:
    CalendarService() = default;
    CalendarService(const CalendarService&) = delete;
    CalendarService& operator=(const CalendarService&) = delete;
    ~CalendarService() {
        try {
            if (manager_) Close();
        } catch (const std::exception&) {
            // The failure that left the service open is the one to report.
        }
    }

    // For the intervals that start between as many days ago as the parameters ask for and today's month and
    // day in 2038, however many days of history these are.
    void Open(CopyRun& run, std::string runParameter) {
        manager_ =
            engine::RegisterManager(run, run.Erp(runParameter).CreateObject("Calendars.CalendarManager"));
        Value parameter = std::move(runParameter);
        platform::Call(*manager_, "Initialize", platform::ByRef{parameter});
        const int history = run.process.controlTables.GetQrxCalendar();
        const platform::Date today = run.process.machine.clock.Now();
        from_ = platform::IsoDate(platform::AddDays(today, -history));
        to_ = "2038" + platform::IsoDate(today).substr(4);
    }

    // A page of a calendar's intervals; Nothing where the service has none to give. The first page is asked
    // for with call id 0 and set-complete flag "N", each further one with those that the page before handed
    // back.
    ObjectRef List(const std::string& calendar, Long callId, const std::string& setComplete) {
        constexpr int kAvailabilityTypeWidth = 6;
        constexpr Integer kStartOfDay = 0, kEndOfDay = 2400;
        Value pageSize = Long{750}, id = callId, complete = setComplete;
        return platform::ObjectOrNothing(
            platform::Call(*manager_, "ListUTCActualCalendarForQRX", calendar, calendar, std::string(),
                           runtime::MaxKeyString(kAvailabilityTypeWidth), from_, to_, kStartOfDay, kEndOfDay,
                           platform::ByRef{pageSize}, platform::ByRef{id}, platform::ByRef{complete}));
    }

    void Close() { platform::Call(*std::exchange(manager_, {}), "Close"); }

private:
    ObjectRef manager_;
    std::string from_, to_;  // "yyyy-mm-dd"
};

// Closes the codes file whichever way a copy ends, so that the calendars copied before a failure are expanded.
struct CodesFileGuard {
    CopyRun& run;
    ~CodesFileGuard() { run.calcodesFile.reset(); }
};

void InsertPage(CopyRun& run, const std::string& calendar, Object& page) {
    const ObjectRef wrapper = platform::ToObject(page.Get("getUTCActualCalendarForQRXWrapper"));
    const Long size = platform::ToLong(wrapper->Get("sizeActualCalendar"));
    for (Long i = 0; i < size; ++i) {
        Value index = platform::ToInteger(i);
        const Value record = platform::Call(*wrapper, "getActualCalendarAt", platform::ByRef{index});
        InsertCalendarRecord(run, calendar, *platform::ToObject(record), kTable);
    }
}

// The paged listing of one calendar; whether there was one. Without a first page the local rows stay as they
// are and `beforeFirstInterval` is not called.
bool CopyIntervals(CopyRun& run, CalendarService& service, const std::string& calendar,
                   const std::function<void()>& beforeFirstInterval) {
    ObjectRef page = service.List(calendar, 0, "N");
    if (!page) return false;
    beforeFirstInterval();
    while (true) {
        InsertPage(run, calendar, *page);
        const std::string setComplete = platform::ToText(page->Get("getSetComplete"));
        if (setComplete == "Y") return true;
        const Long callId = platform::ToLong(page->Get("getCallId"));
        page = platform::ToObject(service.List(calendar, callId, setComplete));
    }
}

// The calendars in use, one after the other; a calendar whose listing fails is logged and passed over.
// Whether each was listed to its end.
bool CopyEach(CopyRun& run, CalendarService& service, const std::vector<std::string>& calendars,
              const std::function<void(const std::string& calendar)>& beforeFirstInterval) {
    bool whole = true;
    for (const std::string& calendar : calendars) {
        bool listed = false;
        LogFailureAndGoOn(run, kActualCalendars, CalendarNamed(calendar), [&] {
            listed = CopyIntervals(run, service, calendar, [&] { beforeFirstInterval(calendar); });
        });
        whole = whole && listed;
    }
    return whole;
}

std::vector<std::string> CalendarsInUse(CopyRun& run) {
    std::vector<std::string> calendars;
    getEmployeeCalenderList(run, [&](const std::string& calendar) { calendars.push_back(calendar); });
    return calendars;
}

// The frame of a copy. A failure is logged before the service that it left open is closed.
template <class Copy>
void WithService(CopyRun& run, const std::string& runParameter, const FailureText& text,
                 const Subject& subject, Copy copy) {
    CalendarService service;
    LogFailure(run, text, subject, [&] {
        service.Open(run, runParameter);
        copy(service);
        run.process.runLog.LogTableCounts(kTable, run.counters.inserted, 0, 0);
        service.Close();
    });
}

void Delete(CopyRun& run, const Sql<1>& rowsOfCalendar, const std::string& calendar) {
    LogFailure(run, kDeleteCalendar, CalendarNamed(calendar), [&] {
        run.Database().DbConnection().SetCommandTimeout(0);
        run.Database().Execute(rowsOfCalendar(run.Literals().QuoteSqlString(calendar)));
    });
}

bool CalendarsAreExpanded(CopyRun& run) {
    return platform::ToDouble(run.process.controlTables.GetTVKFilter()) == 1;
}

}  // namespace

void CopyCalendars(const control::TableCall& call) {
    CopyRun& run = call.run;
    LogFailure(run, kActualCalendars, {}, [&] {
        if (call.syncMethod == control::kFull) {
            CopyCalendarsFull(run, call.runParameter);
            if (CalendarsAreExpanded(run)) ExpandCalendars(run);
        }
        if (call.syncMethod == control::kIncremental) {
            CopyCalendarsIncremental(run, call.runParameter);
            if (CalendarsAreExpanded(run)) ExpandListedCalendars(run);
        }
    });
}

// What is not listed to its end is not swept: an ERP that does not answer has not taken a calendar away.
void CopyCalendarsFull(CopyRun& run, const std::string& runParameter) {
    WithService(run, runParameter, kActualCalendars, {}, [&](CalendarService& service) {
        const std::vector<std::string> calendars = CalendarsInUse(run);
        if (!calendars.empty()) run.Database().Execute(kMark());
        const bool whole = CopyEach(run, service, calendars,
                                    [&](const std::string& calendar) { DeleteCalendar(run, calendar); });
        if (whole && !calendars.empty()) run.Database().Execute(kSweep());
    });
}

void CopyCalendarsIncremental(CopyRun& run, const std::string& runParameter) {
    const CodesFileGuard guard{run};
    WithService(run, runParameter, kActualCalendars, {}, [&](CalendarService& service) {
        const std::vector<std::string> calendars = CalendarsInUse(run);
        CreateCalcodesFile(run);
        CopyEach(run, service, calendars, [&](const std::string& calendar) {
            DeleteCalendar(run, calendar);
            WriteCalcode(run, calendar);
        });
        if (run.calcodesFile) CloseCalcodesFile(run);
    });
}

void CopyCalendar(CopyRun& run, const std::string& calendar, const std::string& runParameter) {
    const CodesFileGuard guard{run};
    WithService(run, runParameter, kCopyCalendar, CalendarNamed(calendar), [&](CalendarService& service) {
        run.counters.inserted = 0;
        CopyIntervals(run, service, calendar, [&] {
            CreateCalcodesFile(run);
            WriteCalcode(run, calendar);
            DeleteCalendar(run, calendar);
        });
        if (run.calcodesFile) CloseCalcodesFile(run);
    });
}

void CopyEmployeeCalendar(CopyRun& run, const std::string& employee, const std::string& runParameter) {
    LogFailure(run, kCopyEmployeeCalendar, {"employee", employee}, [&] {
        auto rows = run.Database().OpenRecordset(kEmployee(run.Literals().QuoteSqlString(employee)));
        if (rows->Eof())
            throw platform::RuntimeError(platform::kInvalidProcedureCall, "tsmdm140",
                                         "There is no such employee in tsmdm140");
        const std::string calendar = platform::ToText(rows->Field("ccal"));
        rows.reset();
        CopyCalendar(run, calendar, runParameter);
    });
}

void DeleteCalendar(CopyRun& run, const std::string& calendar) { Delete(run, kDelete, calendar); }
void DeleteExpandedCalendar(CopyRun& run, const std::string& calendar) {
    Delete(run, kDeleteExpanded, calendar);
}

void getEmployeeCalenderList(CopyRun& run, const std::function<void(const std::string& calendar)>& add) {
    // A static cursor, for only that knows its number of rows.
    auto rows =
        run.Database().OpenRecordset(run.Database().Speaks().calendarsInUse(), platform::CursorType::Static);
    if (rows->RecordCount() > 0)
        for (rows->MoveFirst(); !rows->Eof(); rows->MoveNext()) add(platform::ToText(rows->Field(0)));
    rows->Close();
}

}  // namespace iqrx::tables
