// 500 calendars with 1,000 intervals each: what their copy and their expansion cost. The expansion stands against
// a plain loop that reads the same rows and inserts the same pieces with prepared statements in one transaction.
#include <benchmark/benchmark.h>
#include <sqlite3.h>
#include <unistd.h>

#include <fstream>
#include <iostream>
#include <stdexcept>

#include "control/control_tables.h"
#include "platform/conversions.h"
#include "platform/date.h"
#include "platform/sqlite/sqlite_database.h"
#include "tables/calendars/calendars.h"

namespace {

using namespace iqrx;
using namespace iqrx::platform;

constexpr int kCalendars = 500;
constexpr int kIntervals = 1000;  // of each calendar; every tenth spans two days
constexpr int kPieces = kCalendars * (kIntervals + kIntervals / 10);

bool SpansTwoDays(int interval) { return interval % 10 == 9; }

// Answers as the calendar service does, without reading anything.
class Interval : public Object {
public:
    Interval(std::string calendar, int number) : calendar_(std::move(calendar)), number_(number) {}
    Value Invoke(std::string_view member, std::span<Argument>) override {
        const Date start = AddDays(FromCivil({2026, 1, 1, 8, 0, 0}), number_);
        const Date end = AddMinutes(AddDays(start, SpansTwoDays(number_) ? 1 : 0), 9 * 60);
        if (member == "getCalendar") return calendar_;
        if (member == "getStartDate") return IsoDate(start);
        if (member == "getEndDate") return IsoDate(end);
        if (member == "getStartTime") return Integer{800};
        if (member == "getEndTime") return Integer{1700};
        if (member == "getStartutcdate") return start;
        if (member == "getEndutcdate") return end;
        return std::string("9");
    }

private:
    std::string calendar_;
    int number_;
};

class Service : public Object {
public:
    Value Invoke(std::string_view member, std::span<Argument> arguments) override {
        if (member == "ListUTCActualCalendarForQRX") {
            calendar_ = ToText(arguments[0].value);
            from_ = ToLong(arguments[9].value);
            size_ = std::min<int>(ToLong(arguments[8].value), kIntervals - from_);
            return ObjectRef(this, [](Object*) {});
        }
        if (member == "getUTCActualCalendarForQRXWrapper") return ObjectRef(this, [](Object*) {});
        if (member == "sizeActualCalendar") return Long{size_};
        if (member == "getActualCalendarAt")
            return std::make_shared<Interval>(calendar_, from_ + arguments[0].value.As<Integer>());
        if (member == "getSetComplete") return std::string(from_ + size_ == kIntervals ? "Y" : "N");
        if (member == "getCallId") return Long{from_ + size_};
        return {};
    }

private:
    std::string calendar_;
    int from_ = 0, size_ = 0;
};

struct ServiceErp : erp::Erp, erp::ErpProvider {
    ObjectRef CreateManager(const erp::TableLayout&) override { return {}; }
    ObjectRef CreateRecord(const erp::TableLayout&) override { return {}; }
    ObjectRef CreateObject(std::string_view) override { return std::make_shared<Service>(); }
    std::unique_ptr<erp::Erp> Open(const std::string&, const erp::Notice&) override {
        return std::make_unique<ServiceErp>();
    }
};

struct Nowhere : AppendingFile {
    void Append(std::string_view) override {}
};

struct FixedMachine : Clock, Locale, TimeZone, MessageDisplay, TextFiles, ObjectFactory {
    Date Now() override { return FromCivil({2026, 1, 15, 12, 0, 0}); }
    std::string DecimalSeparator() override { return "."; }
    std::string ShortDate(Date moment) override { return IsoDate(moment); }
    std::string LongTime(Date moment) override { return IsoTime(moment); }
    int BiasMinutes() override { return -60; }
    void Show(const std::string&) override {}
    std::unique_ptr<TextStream> CreateTextFile(const std::filesystem::path&) override { return nullptr; }
    std::unique_ptr<TextStream> OpenTextFile(const std::filesystem::path&) override { return nullptr; }
    std::unique_ptr<AppendingFile> OpenForAppending(const std::filesystem::path&) override {
        return std::make_unique<Nowhere>();
    }
    ObjectRef CreateObject(std::string_view) override { return {}; }
};

struct EmbeddedDatabase : DatabaseProvider {
    std::unique_ptr<Connection> CreateConnection(std::string_view) override {
        return CreateSqliteConnection(iqrx::control::CoordinatingTables());
    }
};

// A database with the calendars in use, and a process that copies into it.
class Copy {
public:
    Copy() {
        std::filesystem::remove_all(directory_);
        std::filesystem::create_directories(directory_);
        std::ifstream schema(IQRX_SOURCE_DIRECTORY "/schema/sqlite.sql");
        std::string script(std::istreambuf_iterator<char>(schema), {});
        script += "INSERT INTO tsparameters(Qrxcal,tvkparam) VALUES(30,0);";
        for (int i = 0; i < kCalendars; ++i)
            script += "INSERT INTO tsmdm140(emno,ccal) VALUES('" + std::to_string(i) + "','CAL" +
                      std::to_string(1000 + i) + "');";
        ApplySqliteScript(file, script);
        process_.database.OpenDatabase("Provider=SQLite;Data Source=" + file.string(), "");
        process_.runLog.SetLogFileName((directory_ / "tcccp030_20260115.log").string());
    }
    ~Copy() {
        process_.database.CloseDatabase();
        std::filesystem::remove_all(directory_);
    }
    Copy(const Copy&) = delete;
    Copy& operator=(const Copy&) = delete;

    void CopyCalendars() { tables::CopyCalendars({run, "tcccp030", "", control::kFull}); }
    void Commit() { process_.database.CloseDatabase(); }
    int Count(const char* sql) { return ToLong(process_.database.OpenRecordset(sql)->Field(0)); }

private:
    const std::filesystem::path directory_ =
        std::filesystem::temp_directory_path() / ("iqrx_bench_" + std::to_string(getpid()));
    FixedMachine machine_;
    EmbeddedDatabase databases_;
    ServiceErp erps_;
    control::Process process_{
        {{.clock = machine_,
          .locale = machine_,
          .timeZone = machine_,
          .messageBox = machine_,
          .makeXmlDocument = []() -> std::unique_ptr<XmlDocument> { throw std::runtime_error("no catalog"); },
          .files = machine_,
          .programFolder = directory_},
         databases_,
         erps_,
         machine_,
         std::cerr}};

public:
    const std::filesystem::path file = directory_ / "local.db";
    control::CopyRun run{process_};
};

void CopyCalendars(benchmark::State& state) {
    Copy copy;
    for (auto _ : state) {
        copy.CopyCalendars();
        copy.Commit();
    }
    if (copy.run.counters.inserted != kCalendars * kIntervals) state.SkipWithError("intervals are missing");
    state.SetItemsProcessed(state.iterations() * kCalendars * kIntervals);
}
BENCHMARK(CopyCalendars)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);

void ExpandCalendars(benchmark::State& state) {
    Copy copy;
    copy.CopyCalendars();
    for (auto _ : state) tables::ExpandCalendars(copy.run);
    if (copy.Count("SELECT count(*) FROM tcccp031") != kPieces) state.SkipWithError("pieces are missing");
    state.SetItemsProcessed(state.iterations() * kPieces);
}
BENCHMARK(ExpandCalendars)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);

sqlite3_stmt* Prepared(sqlite3* database, const char* sql) {
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(database, sql, -1, &statement, nullptr) != SQLITE_OK)
        throw std::runtime_error(sqlite3_errmsg(database));
    return statement;
}

void BindColumn(sqlite3_stmt* to, int place, sqlite3_stmt* from, int column) {
    sqlite3_bind_text(to, place, reinterpret_cast<const char*>(sqlite3_column_text(from, column)),
                      sqlite3_column_bytes(from, column), SQLITE_STATIC);
}

// The pieces' dates are computed as the expansion's are; nothing is checked.
void InsertPieces(sqlite3_stmt* source, sqlite3_stmt* insert) {
    const auto date = [&](int column) {
        return *ParseIsoDate(reinterpret_cast<const char*>(sqlite3_column_text(source, column)));
    };
    BindColumn(insert, 1, source, 0);
    BindColumn(insert, 2, source, 1);
    const int days = DaysBetween(date(2), date(3));
    const Date start = date(4), end = date(5);
    for (int day = 0; day <= days; ++day) {
        const std::string from = IsoDateTime(AddDays(start, day));
        const std::string to = IsoDateTime(AddDays(end, day - days));
        sqlite3_bind_text(insert, 3, from.data(), static_cast<int>(from.size()), SQLITE_STATIC);
        sqlite3_bind_text(insert, 4, to.data(), static_cast<int>(to.size()), SQLITE_STATIC);
        sqlite3_step(insert);
        sqlite3_reset(insert);
    }
}

void PlainLoop(benchmark::State& state) {
    Copy copy;
    copy.CopyCalendars();
    copy.Commit();
    sqlite3* database = nullptr;
    sqlite3_open(copy.file.c_str(), &database);
    for (auto _ : state) {
        sqlite3_exec(database, "PRAGMA synchronous=NORMAL; BEGIN; DELETE FROM tcccp031", nullptr, nullptr,
                     nullptr);
        sqlite3_stmt* source = Prepared(database, "SELECT ccal,ract,stdt,endt,ustm,uftm FROM tcccp030");
        sqlite3_stmt* insert =
            Prepared(database, "INSERT INTO tcccp031(ccal,ract,ustm,uftm) VALUES(?1,?2,?3,?4)");
        while (sqlite3_step(source) == SQLITE_ROW) InsertPieces(source, insert);
        sqlite3_finalize(source);
        sqlite3_finalize(insert);
        sqlite3_exec(database, "COMMIT", nullptr, nullptr, nullptr);
    }
    sqlite3_close(database);
    state.SetItemsProcessed(state.iterations() * kPieces);
}
BENCHMARK(PlainLoop)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);

}  // namespace

BENCHMARK_MAIN();
