// A statement that is bound leaves what its text leaves: for every statement of every table.
#include <gmock/gmock.h>
#include <rapidcheck.h>

#include <fstream>

#include "erp/extract/extract_erp.h"
#include "hosting/dispatch.h"
#include "platform/sqlite/sqlite_database.h"
#include "runtime/sql.h"
#include "support/test_process.h"
#include "support/twin_database.h"

namespace iqrx::testing {
namespace {

using ::testing::IsEmpty;

// An ERP that only hears of a table's layout.
struct LayoutProbe : erp::ErpProvider {
    struct Erp : erp::Erp {
        explicit Erp(erp::TableLayout& found) : layout(found) {}
        platform::ObjectRef CreateManager(const erp::TableLayout& asked) override {
            layout = asked;
            platform::RaiseRuntimeError(platform::kObjectNotSet);
        }
        platform::ObjectRef CreateRecord(const erp::TableLayout&) override { return {}; }
        platform::ObjectRef CreateObject(std::string_view) override { return {}; }
        erp::TableLayout& layout;
    };
    std::unique_ptr<erp::Erp> Open(const std::string&, const erp::Notice&) override {
        return std::make_unique<Erp>(layout);
    }
    erp::TableLayout layout;
};

erp::TableLayout LayoutOf(const control::TableRoutine& routine) {
    LayoutProbe probe;
    RecordingDatabase nowhere;
    TestProcess process(nowhere, probe);
    process.OpenDatabase();
    EXPECT_THROW(routine.copy({process.run, std::string(routine.table), "", control::kFull}),
                 platform::RuntimeError);
    return probe.layout;
}

using Texts = std::vector<std::string>;

// What a field of the extract may hold; few keys, so that changes meet rows that are there.
std::string AnyCell(const erp::FieldLayout& field) {
    const auto one = [](const Texts& cells) { return *rc::gen::elementOf(cells); };
    if (field.status) return one({"5", "10", "15", "20", "23", "25", "35"});
    switch (field.kind) {
        case erp::FieldKind::Whole:
            return field.key ? one({"0", "1", "2", "9999"}) : one({"0", "1", "2", "10", "255"});
        case erp::FieldKind::Real:
            return field.key ? one({"0.5", "12.25", "999"})
                             : one({"0", "0.1", "0.30000000000000004", "-12.5", "0.000000000000000001", "5",
                                    "123456789012345", "1000000000000000", "12345678901234567890",
                                    "0.666666666666667", "-0.0", "1000000000000000000000000000000"});
        case erp::FieldKind::Date:
            return one({"", "1970-01-01 00:00:00", "2009-07-01 12:00:00", "2026-02-28 23:59:59",
                        "9999-12-31 00:00:00", "1969-12-31 23:59:59"});
        case erp::FieldKind::Text:
            break;
    }
    if (field.key) return one({"A", "B", "O'", "''", "%", "0"});
    return one({"",
                " ",
                "O'Brien",
                "''",
                "'",
                "5",
                "-5",
                "1E+5",
                "NULL",
                "N'x'",
                "a\nb",
                "a\r\nb",
                "{braces}",
                "?",
                "\\",
                "CONVERT(DATETIME,'',120)",
                "2009-05-07 08:00:00",
                "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80",
                "\x7f",
                std::string(300, '\'')});
}

std::string Quoted(const std::string& cell) {
    std::string quoted = "\"";
    for (const char c : cell) quoted.append(c == '"' ? 2 : 1, c);
    return quoted + "\"";
}

std::string AnyRow(const erp::TableLayout& layout) {
    std::string row;
    for (const erp::FieldLayout& field : layout.fields)
        row += (row.empty() ? "" : ",") + Quoted(AnyCell(field));
    return row + "\n";
}

std::string Header(const erp::TableLayout& layout) {
    std::string header;
    for (const erp::FieldLayout& field : layout.fields)
        header += (header.empty() ? "" : ",") + std::string(field.field);
    return header + "\n";
}

struct ExtractErps : erp::ErpProvider {
    std::unique_ptr<erp::Erp> Open(const std::string& runParameter, const erp::Notice&) override {
        return erp::extract::OpenExtract(runParameter);
    }
};

// A site whose ERP is a directory and whose database is two.
struct Site {
    explicit Site(platform::Integer databasePlatform) {
        std::ifstream schema(IQRX_SOURCE_DIRECTORY "/schema/sqlite.sql");
        const std::string script(std::istreambuf_iterator<char>(schema), {});
        for (const char* file : {"bound.db", "texts.db"})
            platform::ApplySqliteScript(
                directory.path / file, script +
                                           "INSERT INTO tsparameters(Qrxcal,tvkparam) VALUES(30,1);"
                                           "INSERT INTO tsmdm140(emno,ccal) VALUES('E1','C''1'),('E2','C2');");
        process.process.database.OpenDatabase("", "", databasePlatform);
        process.process.runLog.SetLogFileName((directory.path / "tcccp030_20260304.log").string());
        process.process.runLog.KeepErrors(process.process.database.LastErrors());
    }
    void Write(const std::string& file, const std::string& content) {
        std::ofstream(directory.path / file, std::ios::binary) << content;
    }
    void Copy(const control::TableRoutine& routine, platform::Integer syncMethod) {
        process.run.counters = {};
        routine.copy({process.run, std::string(routine.table), directory.path.string(), syncMethod});
        process.process.database.Commit();
        EXPECT_EQ(process.process.runLog.FirstError(), "");
    }

    TemporaryDirectory directory;
    ExtractErps erps;
    TwinDatabases databases{directory.path / "bound.db", directory.path / "texts.db"};
    TestProcess process{databases, erps};
};

class BothWays : public ::testing::TestWithParam<platform::Integer> {
protected:
    const bool onOracle = GetParam() == runtime::kOracle;
};

TEST_P(BothWays, LeaveTheSameRowsAndCountsOfEveryTable) {
    for (const control::TableRoutine& routine : hosting::Tables()) {
        const std::string table(routine.table);
        if (table == "tcccp030") continue;  // comes from the calendar service
        SCOPED_TRACE(table);
        const erp::TableLayout layout = LayoutOf(routine);
        EXPECT_TRUE(rc::check(table, [&] {
            Site site(GetParam());
            site.process.process.database.Execute("INSERT INTO tstables(tablename, FilterFlag) VALUES(N'" +
                                                  table + "', 127)");
            site.databases.unbound.clear();  // that text
            std::string records = Header(layout), trail = "changed_at,change," + Header(layout);
            for (int i = 0; i < 20; ++i) records += AnyRow(layout);
            for (int i = 0; i < 10; ++i)
                trail +=
                    "2026-03-04 12:00:00," + *rc::gen::elementOf(Texts{"I", "U", "D"}) + "," + AnyRow(layout);
            site.Write(table + ".csv", records);
            site.Write(table + ".audit.csv", trail);
            site.Copy(routine, control::kFull);
            site.Copy(routine, control::kFull);  // over rows that are there
            site.process.clock.now = At("2026-03-05 05:06:07");
            site.Copy(routine, control::kIncremental);
            site.databases.ExpectEqual();
            RC_ASSERT(site.databases.statements > 15);
            RC_ASSERT(site.databases.unbound.empty());
            RC_ASSERT(!::testing::Test::HasFailure());
        }));
    }
}

// Oracle's days go to the server unescaped: only the text says what they are.
TEST_P(BothWays, LeaveTheSameCalendars) {
    Site site(GetParam());
    site.Write("calendars.csv",
               "calendar,availability_type,start_date,start_time,end_date,end_time,cumulative_time,"
               "cumulative_capacity,start_utc,end_utc\n"
               "C'1,N'X,2026-03-01,800,2026-03-03,1730,45.00,1.00,2026-03-01 07:00:00,2026-03-03 16:30:00\n"
               "C'1,'',2026-03-04,2359,2026-03-04,1,,,,\n"
               "C2,,2026-03-05,0,2026-03-06,2400,'0.1',1E5,2026-03-05 00:00:00,\n");
    const control::TableRoutine& calendars = hosting::Tables().back();
    for (const platform::Integer method : {control::kFull, control::kIncremental}) {
        calendars.copy({site.process.run, "tcccp030", site.directory.path.string(), method});
        site.process.process.database.Commit();
    }
    site.databases.ExpectEqual();
    EXPECT_EQ(site.databases.unbound.empty(), !onOracle);
}

constexpr runtime::Sql<6> kUpdate =
    "UPDATE tssoc200 SET ordu={a}, minu={b}, ofbp={c}, ordt={d} WHERE orno={e} AND minu<>{f}";

// Numbers of both signs, the longest reals, dates and none.
TEST_P(BothWays, LeaveTheSameOfAnyValue) {
    Site site(GetParam());
    auto& database = site.process.process.database;
    const runtime::SqlLiterals& literals = database.Literals();
    database.Execute("INSERT INTO tssoc200(orno, minu) VALUES(N'1', 7)");
    site.databases.unbound.clear();  // that text
    EXPECT_TRUE(rc::check([&] {
        const auto text = *rc::gen::string<std::string>();
        const auto real = *rc::gen::arbitrary<double>();
        const auto whole = *rc::gen::arbitrary<platform::Long>();
        const auto date =
            literals.UtcDateLiteral(platform::Date{*rc::gen::inRange<std::int64_t>(0, 253402300799)});
        database.Execute(kUpdate(literals.FormatDecimal(real), platform::Literal::Whole(whole),
                                 literals.QuoteSqlString(text), date.value_or(platform::Literal()),
                                 literals.QuoteSqlString("1"), platform::Literal::Whole(-whole)));
        database.Commit();
        site.databases.ExpectEqual();
        RC_ASSERT(!::testing::Test::HasFailure());
    }));
    EXPECT_THAT(site.databases.unbound, IsEmpty());
}

TEST_P(BothWays, FailAlikeOfADateThatTheServersDoNotKnowAndOfANumberWithAComma) {
    Site site(GetParam());
    auto& database = site.process.process.database;
    constexpr runtime::Sql<1> kBad = "UPDATE tssoc200 SET ordt={a}";
    EXPECT_THROW(database.Execute(kBad(database.Literals().WrapDateLiteral("10000-01-01 00:00:00"))),
                 platform::RuntimeError);
    EXPECT_THROW(database.Execute(kBad(platform::Literal::Unknown("1,5"))), platform::RuntimeError);
}

INSTANTIATE_TEST_SUITE_P(OnPlatform, BothWays, ::testing::Values(runtime::kSqlServer, runtime::kOracle),
                         ::testing::PrintToStringParamName());

}  // namespace
}  // namespace iqrx::testing
