// What a fault in any single call comes to, on the embedded database with the sample extract: one outcome is
// told, the table is free, the error is in a log, on standard error and in the exit code, and the next run
// leaves the rows, change-logs included, of runs that never failed.
//
// A sample of the calls is tried; IQRX_EVERY_FAULT=1 in the environment tries each of them.
#include <gmock/gmock.h>
#include <sqlite3.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>

#include "control/control_tables.h"
#include "hosting/dispatch.h"
#include "hosting/sub_main.h"
#include "platform/conversions.h"
#include "platform/sqlite/sqlite_database.h"
#include "support/extract_erps.h"
#include "support/faults.h"
#include "support/test_process.h"

namespace iqrx::testing {
namespace {

namespace fs = std::filesystem;
using platform::Value;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr int kFull = 1, kIncremental = 2;
const int kTables = static_cast<int>(hosting::Tables().size());  // their ids are 1 to this
constexpr int kCallsTried = 4;                                   // of a copy, when not all of them

struct EmbeddedDatabases : platform::DatabaseProvider {
    std::unique_ptr<platform::Connection> CreateConnection(std::string_view) override {
        return platform::CreateSqliteConnection(control::CoordinatingTables());
    }
};

// The scheduler's side: counts the outcomes that it is told.
struct Scheduler : platform::ObjectFactory {
    std::vector<Value> syncStatus;

    platform::ObjectRef CreateObject(std::string_view) override {
        return std::make_shared<FakeObject>("registry", nullptr, [this](auto, auto) -> Value {
            return std::make_shared<FakeObject>("instance", nullptr,
                                                [this](auto member, auto arguments) -> Value {
                                                    if (member == "UpdateSyncStatus")
                                                        syncStatus.push_back(arguments[0].value);
                                                    return {};
                                                });
        });
    }
};

// A site on the morning of the sample's day: every table was copied in full, the day's changes are in the trails.
class Site {
public:
    Site() {
        Initialize();
        for (int table = 1; table <= kTables; ++table) Run(table, kFull);
        Run(18, kFull);  // now that the calendars in use are known
        Statement("UPDATE tstables SET lutm = '2025-06-20 00:00:00'");
        fs::copy_file(database, morning);
    }

    void BackToTheMorning() {
        for (const char* file : {"site.db-wal", "site.db-shm"}) fs::remove(machine.directory.path / file);
        fs::copy_file(morning, database, fs::copy_options::overwrite_existing);
        for (const auto& entry : fs::directory_iterator(logs)) fs::remove(entry.path());
    }

    int Run(int table, int method) {
        machine.clock.now = At("2025-06-21 00:00:00");
        scheduler.syncStatus.clear();
        machine.diagnostics.str({});
        process.emplace(control::Ports{machine.process.machine, faulting, erps, scheduler, machine.diagnostics});
        return hosting::SubMain(*process, Connection() + "{}{}" + std::to_string(table) + "{}" +
                                              std::to_string(method) + "{}" + logs.string() +
                                              "{}" IQRX_SAMPLE_DIRECTORY "{}7{}E00001{}1{}1{}SYNC");
    }

    // The rows of every table that a copy fills, each a line.
    std::vector<std::string> Rows() const {
        std::vector<std::string> lines;
        for (std::string table :
             Read("SELECT name FROM sqlite_master WHERE type = 'table' AND name NOT LIKE 'sqlite%' AND name NOT IN "
                  "('tstables', 'tstreenodes', 'tsi18ntext', 'tsfullsyncs', 'tsparameters')")) {
            table.back() = ' ';  // ends the cell
            for (const std::string& line : Read("SELECT * FROM " + table)) lines.push_back(table + line);
        }
        std::ranges::sort(lines);
        return lines;
    }
    std::vector<std::string> LockedTables() const {
        return Read("SELECT tablename FROM tstables WHERE in_use <> 0");
    }

    std::string Logs() const {
        std::string text;
        for (const auto& entry : fs::directory_iterator(logs)) text += Contents(entry.path());
        return text;
    }

    TestProcess machine;
    Scheduler scheduler;
    Faults faults;

private:
    std::string Connection() const { return "Provider=SQLite;Data Source=" + database.string(); }

    void Initialize() {
        fs::create_directory(logs);
        machine.xml.loads = false;
        platform::ApplySqliteScript(database, Contents(IQRX_SOURCE_DIRECTORY "/schema/sqlite.sql"));
        std::ifstream catalog(IQRX_SOURCE_DIRECTORY "/schema/catalog.csv");
        std::string line;
        for (std::getline(catalog, line); std::getline(catalog, line);) InsertCatalogRow(line);
        Statement("INSERT INTO tsparameters (Qrxcal,tvkparam) VALUES (30,1)");
    }
    void InsertCatalogRow(const std::string& line);
    std::vector<std::string> Read(const std::string& sql) const;
    void Statement(const std::string& sql) const { Read(sql); }

    const fs::path database = machine.directory.path / "site.db",
                   morning = machine.directory.path / "morning.db", logs = machine.directory.path / "log";
    EmbeddedDatabases databases;
    ExtractErps extracts;
    FaultingDatabases faulting{databases, faults};
    FaultingErps erps{extracts, faults};
    std::optional<control::Process> process;
};

void Site::InsertCatalogRow(const std::string& line) {
    std::vector<std::string> cells;
    std::istringstream stream(line);
    for (std::string cell; std::getline(stream, cell, ',');) cells.push_back(cell);
    const auto text = [&](std::size_t i) { return "'" + cells.at(i) + "'"; };
    Statement("INSERT INTO tstables (tableid,productid,tablename,ERPTableID,FilterFlag,in_use,reqd) VALUES (" +
              cells.at(0) + "," + text(1) + "," + text(2) + "," + text(3) + "," + cells.at(7) + ",0,1)");
    Statement("INSERT INTO tstreenodes (tableid,groupid,label) VALUES (" + cells.at(0) + "," + text(4) + "," +
              text(5) + ")");
    Statement("INSERT INTO tsi18ntext (label,text) VALUES (" + text(5) + "," + text(6) + ")");
}

std::vector<std::string> Site::Read(const std::string& sql) const {
    sqlite3* handle = nullptr;
    sqlite3_open(database.c_str(), &handle);
    std::vector<std::string> lines;
    const auto keep = [](void* into, int columns, char** cells, char**) {
        std::string line;
        for (int i = 0; i < columns; ++i) line += std::string(cells[i] ? cells[i] : "NULL") + "|";
        static_cast<std::vector<std::string>*>(into)->push_back(line);
        return 0;
    };
    const int code = sqlite3_exec(handle, sql.c_str(), keep, &lines, nullptr);
    EXPECT_EQ(code, SQLITE_OK) << sql << ": " << sqlite3_errmsg(handle);
    sqlite3_close(handle);
    return lines;
}

struct Copy {
    int table, method;
    std::string name;
};

void PrintTo(const Copy& copy, std::ostream* out) { *out << copy.name; }

class AFaultInAnyCall : public ::testing::TestWithParam<Copy> {
protected:
    // One site for all tests: its morning takes longer than a test.
    static void SetUpTestSuite() { site = new Site; }
    static void TearDownTestSuite() {
        delete site;
        site = nullptr;
    }

    void Run() { exitCode = site->Run(GetParam().table, GetParam().method); }

    void ExpectAllWell() {
        EXPECT_EQ(exitCode, hosting::kCompleted) << site->machine.diagnostics.str();
        EXPECT_THAT(site->LockedTables(), IsEmpty());
    }

    void ExpectToldOnce() {
        EXPECT_EQ(exitCode, hosting::kFailed);
        EXPECT_THAT(site->machine.diagnostics.str(), HasSubstr(Faults::kText));
        EXPECT_THAT(site->Logs(), HasSubstr(Faults::kText));
        EXPECT_THAT(site->LockedTables(), IsEmpty());
        const auto isOutcome = [](const Value& status) { return platform::ToLong(status) > 1; };
        const bool began = !site->scheduler.syncStatus.empty();
        EXPECT_EQ(std::ranges::count_if(site->scheduler.syncStatus, isOutcome), began ? 1 : 0);
    }

    // The calls to try, of so many.
    static std::vector<int> Chosen(int calls) {
        std::vector<int> chosen;
        const bool every = std::getenv("IQRX_EVERY_FAULT") != nullptr;
        const int step = every ? 1 : std::max(1, calls / kCallsTried);
        // Each copy begins at another place, so that the sample is not the same calls of each.
        for (int call = 1 + GetParam().table * 7 % step; call <= calls; call += step) chosen.push_back(call);
        return chosen;
    }

    static Site* site;
    int exitCode = -1;
};

Site* AFaultInAnyCall::site = nullptr;

TEST_P(AFaultInAnyCall, IsToldOnceAndMendedByTheNextRun) {
    site->BackToTheMorning();
    site->faults.Arm(0, Faults::When::BeforeItsEffect);
    Run();
    ExpectAllWell();
    const int calls = site->faults.Calls();
    const std::vector<std::string> expected = site->Rows();

    for (const int call : Chosen(calls))
        for (const auto when : {Faults::When::BeforeItsEffect, Faults::When::AfterItsEffect}) {
            site->BackToTheMorning();
            site->faults.Arm(call, when);
            Run();
            SCOPED_TRACE("call " + std::to_string(call) + " of " + std::to_string(calls) + ", " +
                         (when == Faults::When::BeforeItsEffect ? "before " : "after ") +
                         site->faults.Struck());
            ExpectToldOnce();

            site->faults.Arm(0, when);
            Run();
            ExpectAllWell();
            EXPECT_THAT(site->Rows(), ::testing::ContainerEq(expected));
            if (HasFailure()) return;
        }
}

std::vector<Copy> EveryCopy() {
    std::vector<Copy> copies;
    for (int table = 1; table <= kTables; ++table) {
        copies.push_back({table, kFull, "Full" + std::to_string(table)});
        copies.push_back({table, kIncremental, "Incremental" + std::to_string(table)});
    }
    copies.push_back({98, kFull, "OneCalendar"});
    copies.push_back({99, kFull, "TheCalendarOfAnEmployee"});
    return copies;
}

INSTANTIATE_TEST_SUITE_P(EveryCopy, AFaultInAnyCall, ::testing::ValuesIn(EveryCopy()),
                         [](const auto& test) { return test.param.name; });

}  // namespace
}  // namespace iqrx::testing
