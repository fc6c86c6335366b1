// A process whose database and calendar service exist in the test alone, and what it knows of calendars.
#pragma once

#include <gtest/gtest.h>

#include "support/test_process.h"
#include "tables/calendars/calendars.h"
#include "tables/calendars/fake_calendar_service.h"

namespace iqrx::testing {

inline const std::string kSqlServerList =
    "SELECT DISTINCT tsmdm140.ccal  FROM tsmdm140 WHERE (tsmdm140.ccal <>  N'' OR  tsmdm140.ccal is NOT NULL)"
    " UNION  SELECT DISTINCT tsmdm100.ccal  FROM tsmdm100 WHERE (tsmdm100.ccal <>  N'' OR  tsmdm100.ccal is NOT "
    "NULL)  order by tsmdm140.ccal asc ";
inline const std::string kOracleList =
    "SELECT DISTINCT tsmdm140.ccal  FROM tsmdm140 WHERE (tsmdm140.ccal <>  N' ' OR  tsmdm140.ccal is NOT NULL)"
    " UNION  SELECT DISTINCT tsmdm100.ccal  FROM tsmdm100 WHERE (tsmdm100.ccal <>  N' ' OR  tsmdm100.ccal is "
    "NOT NULL) order by ccal asc ";

struct CalendarProcess : TestProcess {
    // 30 days of history, the calendars in use, and whether they are expanded.
    void Given(platform::Integer databasePlatform, const std::vector<std::string>& calendars,
               platform::Integer tvkparam = 0) {
        OpenDatabase(databasePlatform);
        process.runLog.SetLogFileName((directory.path / "tcccp030_20260304.log").string());
        process.settings.currentInstanceNumber = 2;
        database.defaultAffected = 1;
        using platform::Integer;
        database.WhenOpened("SELECT * FROM tsparameters",
                            Rows{{"Qrxcal", "tvkparam"}, {{Integer{30}, tvkparam}}});
        database.WhenOpened("SELECT tvkparam FROM tsparameters", Rows{{"tvkparam"}, {{tvkparam}}});
        Rows list{{"ccal"}, {}};
        for (const std::string& calendar : calendars) list.rows.push_back({calendar});
        database.WhenOpened(databasePlatform == 2 ? kOracleList : kSqlServerList, list);
    }

    std::filesystem::path CodesFile() const { return directory.path / "tcccp0302_calcodes.txt"; }
    std::string CalendarLog() const { return Contents(directory.path / "tcccp030_20260304.log"); }
    void Copy(platform::Integer syncMethod) {
        tables::CopyCalendars({run, "tcccp030", "run parameter", syncMethod});
    }

    FakeCalendarService service{erp};
};

// A local row of tcccp030 as the expansion reads it.
struct LocalInterval {
    std::string calendar, startDate, endDate, start, end;
};
inline Rows LocalRows(const std::vector<LocalInterval>& intervals) {
    Rows rows{{"ccal", "ract", "stdt", "endt", "ustm", "uftm"}, {}};
    for (const LocalInterval& i : intervals)
        rows.rows.push_back(
            {i.calendar, std::string("A"), At(i.startDate), At(i.endDate), At(i.start), At(i.end)});
    return rows;
}

}  // namespace iqrx::testing
