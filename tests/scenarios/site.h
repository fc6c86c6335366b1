// A site of its own for a scenario: a fresh local database, an ERP extract and a log directory, in a
// temporary directory that goes with the test; and the programs that an administrator runs on it.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "scenarios/child.h"
#include "scenarios/site_database.h"

namespace iqrx::testing {

namespace fs = std::filesystem;

// The twelve arguments of a request to the service; as made by a Site, a full copy of service types.
struct Request {
    std::string connection, database, table = "2", method = "1", logDirectory, runParameter, statusKey = "0",
                                      calendar, platform = "1", instance = "0", group = "SYNC", extra;

    std::string Text(std::size_t arguments = 12) const;
};

inline const char* const kFull = "1";
inline const char* const kIncremental = "2";

class Site : public ::testing::Test {
protected:
    Site() : Site(OnPostgres()) {}
    ~Site() override;

    // The sample that the source tree carries, and a run parameter for any other extract.
    static fs::path Sample();
    std::string Connection() const { return rows_->Connection(); }
    // Where the programs keep their books.
    fs::path State() const { return onServer_ ? logs / ".qrx" : directory / "scheduling.db.state"; }
    Request FullCopy() const;
    Request IncrementalCopy() const;

    // A file of the extract, or any other below the site's directory; its text ends without a line break.
    void GivenExtract(const std::string& file, const std::string& text) const;
    void GivenFile(const fs::path& file, const std::string& text) const;

    std::vector<std::string> ServiceCommand(const Request& request, std::size_t arguments = 12) const;
    // A request of twelve arguments; with eleven it comes from a scheduler, to whose instance object it reports.
    Finished Service(const Request& request, const Environment& environment = {},
                     std::size_t arguments = 12) const;
    // The operator's tool with this site's connection, extract and log directory.
    Finished Qrxctl(std::vector<std::string> arguments, const Environment& environment = {}) const;
    // The same with no option but those given.
    Finished BareQrxctl(std::vector<std::string> arguments, const Environment& environment = {}) const;

    // What a reading application finds: a line per row, cells joined by '|', NULL for Null.
    std::vector<std::string> Rows(const std::string& sql) const { return rows_->Rows(sql); }
    const SiteDatabase& Database() const { return *rows_; }
    static std::vector<std::string> RowsOf(const fs::path& database, const std::string& sql) {
        return EmbeddedSiteDatabase(database)->Rows(sql);
    }
    std::string Cell(const std::string& sql) const;
    // What the functions that the embedded database has for JSON find in a text.
    static std::vector<std::string> JsonRows(const std::string& sql) {
        return EmbeddedSiteDatabase(":memory:")->Rows(sql);
    }
    static std::string JsonCell(const std::string& sql) { return JsonRows(sql).at(0); }
    void Execute(const std::string& sql) const;
    std::vector<std::string> CatalogTables() const;  // in the order of their ids
    std::string LastUpdate(const std::string& table) const;
    bool InUse(const std::string& table) const;

    static std::string Today();  // YYYYMMDD

    // The run log of today (or of the day that began while the test ran), and the service's other logs.
    std::string RunLog(const std::string& table) const;

    const fs::path directory;
    const fs::path database = directory / "scheduling.db";
    const fs::path extract = directory / "extract";
    const fs::path logs = directory / "log";

protected:
    explicit Site(bool onServer);

private:
    const bool onServer_;
    const std::unique_ptr<SiteDatabase> rows_;
};

// Five service types as an ERP has them, a day's changes to them, and what the local table then holds.
inline const char* const kServiceTypes =
    "cstp,desc,proc,ract,dahe\n"
    "ADV,Advice by telephone,REMOTE,ONC,1\n"
    "INS,Inspection,INSPECT,WRK,2\n"
    "REP,Owner's repair,REPAIR,ONC,1";
inline const char* const kServiceTypeChanges =
    "changed_at,change,cstp,desc,proc,ract,dahe\n"
    "2025-06-20 08:00:00,I,NEW,New installation,INSTALL,WRK,2\n"
    "2025-06-20 09:00:00,U,INS,Yearly inspection,INSPECT,WRK,1\n"
    "2025-06-20 10:00:00,D,ADV,Advice by telephone,REMOTE,ONC,1";
inline const char* const kOneCalendar =
    "calendar,availability_type,start_date,start_time,end_date,end_time,cumulative_time,cumulative_capacity,"
    "start_utc,end_utc\n"
    "C01,WRK,2030-06-20,800,2030-06-20,1700,9,9,2030-06-20 06:00:00,2030-06-20 15:00:00";
inline const char* const kSelectServiceTypes =
    "SELECT cstp, dsca, prod, ract, dahe, upd_flag FROM tsmdm030 ORDER BY cstp";

// A text whose lines were broken between its words, in one line.
std::string Unwrapped(const std::string& text);

// Text of one line, its line break included, that contains `part`.
MATCHER_P(IsOneLineWith, part, "") {
    return !arg.empty() && arg.find('\n') == arg.size() - 1 && arg.find(part) != std::string::npos;
}

}  // namespace iqrx::testing
