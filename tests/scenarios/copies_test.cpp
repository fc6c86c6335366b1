// Copying as an administrator sees it: in full, then what changed, and what the applications find each time.
#include <algorithm>
#include <cmath>
#include <ctime>
#include <regex>

#include "platform/csv_reader.h"
#include "platform/date.h"
#include "scenarios/site.h"

namespace iqrx::testing {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Gt;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr const char* kMorning = "2025-06-20 00:00:00";

// The closing table of the tool as "table copied removed rows-now" and what ended the copy, if not its end.
std::vector<std::string> ClosingTable(const Finished& run) {
    const std::regex row(R"((t\w+) +([\d,]+|-) +([\d,]+|-) +(?:\d|-) +([\d,]+) +[\d.]+(?: +(.+))?)");
    std::vector<std::string> rows;
    for (const std::string& line : Lines(run.out))
        if (std::smatch found; std::regex_match(line, found, row))
            rows.push_back(std::regex_replace(line, row, "$1 $2 $3 $4") +
                           (found[5].matched ? " " + found[5].str() : ""));
    return rows;
}

class ServiceTypes : public Site {};

TEST_F(ServiceTypes, AreCopiedInFullAndThenByTheirChanges) {
    GivenExtract("tsmdm030.csv", kServiceTypes);
    GivenExtract("tsmdm030.audit.csv", kServiceTypeChanges);

    const Finished full = Qrxctl({"copy", "tsmdm030", "--full"});

    EXPECT_EQ(full.exitCode, 0) << full.err;
    EXPECT_THAT(ClosingTable(full), ElementsAre("tsmdm030 3 0 3"));
    EXPECT_THAT(Rows(kSelectServiceTypes),
                ElementsAre("ADV|Advice by telephone|REMOTE|ONC|1|0", "INS|Inspection|INSPECT|WRK|0|0",
                            "REP|Owner's repair|REPAIR|ONC|1|0"));

    const Finished incremental = Qrxctl({"copy", "tsmdm030", "--incremental", "--since", kMorning});

    EXPECT_EQ(incremental.exitCode, 0) << incremental.err;
    EXPECT_THAT(ClosingTable(incremental), ElementsAre("tsmdm030 2 1 3"));
    EXPECT_THAT(Rows(kSelectServiceTypes),
                ElementsAre("INS|Yearly inspection|INSPECT|WRK|1|0", "NEW|New installation|INSTALL|WRK|0|0",
                            "REP|Owner's repair|REPAIR|ONC|1|0"));
}

TEST_F(ServiceTypes, ThatTheErpNoLongerHasGoWithTheNextFullCopyAndAreCounted) {
    GivenExtract("tsmdm030.csv", kServiceTypes);
    Qrxctl({"copy", "tsmdm030", "--full"});
    GivenExtract("tsmdm030.csv", "cstp,desc,proc,ract,dahe\nINS,Inspection,INSPECT,WRK,2");

    const Finished full = Qrxctl({"copy", "tsmdm030", "--full"});

    EXPECT_THAT(ClosingTable(full), ElementsAre("tsmdm030 1 2 1"));
    EXPECT_THAT(Rows(kSelectServiceTypes), ElementsAre("INS|Inspection|INSPECT|WRK|0|0"));
}

TEST_F(ServiceTypes, AreAllGoneWhenTheErpHasNoneAndTheOperatorAllowsIt) {
    GivenExtract("tsmdm030.csv", kServiceTypes);
    Qrxctl({"copy", "tsmdm030", "--full"});
    GivenExtract("tsmdm030.csv", "cstp,desc,proc,ract,dahe");

    const Finished guarded = Qrxctl({"copy", "tsmdm030", "--full"});
    EXPECT_EQ(guarded.exitCode, 4);
    EXPECT_THAT(ClosingTable(guarded), ElementsAre("tsmdm030 - - 3 stopped by the guard"));
    EXPECT_THAT(Rows(kSelectServiceTypes), SizeIs(3));

    EXPECT_EQ(Qrxctl({"copy", "tsmdm030", "--full", "--max-removed", "any"}).exitCode, 0);
    EXPECT_THAT(Rows(kSelectServiceTypes), IsEmpty());
}

TEST_F(ServiceTypes, StayAsTheyAreWhenTheExportLeftNoFile) {
    GivenExtract("tsmdm030.csv", kServiceTypes);
    Qrxctl({"copy", "tsmdm030", "--full"});
    const auto before = Rows(kSelectServiceTypes);
    const std::string lastUpdate = LastUpdate("tsmdm030");
    fs::remove(extract / "tsmdm030.csv");

    for (const char* method : {"--full", "--incremental"}) {
        const Finished copy = Qrxctl({"copy", "tsmdm030", method});

        EXPECT_EQ(copy.exitCode, 1);
        EXPECT_THAT(copy.out, HasSubstr("csv does not exist"));
        EXPECT_EQ(Rows(kSelectServiceTypes), before);
        EXPECT_EQ(LastUpdate("tsmdm030"), lastUpdate);
    }
}

TEST_F(ServiceTypes, AreReadFromTheTrailOnceSinceEachCopyGoesOnWhereTheLastOneBegan) {
    GivenExtract("tsmdm030.audit.csv", kServiceTypeChanges);
    EXPECT_EQ(Cell("SELECT lutm IS NULL FROM tstables WHERE tablename = 'tsmdm030'"), "1");

    const Finished first = Qrxctl({"copy", "tsmdm030", "--incremental"});
    const Finished second = Qrxctl({"copy", "tsmdm030", "--incremental"});
    const Finished again = Qrxctl({"copy", "tsmdm030", "--incremental", "--since", "2025-06-20 08:30:00"});

    // A table that was never copied reads the whole trail: two rows new to it, and a removal that finds nothing.
    EXPECT_THAT(ClosingTable(first), ElementsAre("tsmdm030 2 0 2"));
    EXPECT_THAT(first.out, HasSubstr("note     tsmdm030  was never copied in full"));
    EXPECT_THAT(second.out, ::testing::Not(HasSubstr("never copied")));
    EXPECT_THAT(ClosingTable(second), ElementsAre("tsmdm030 0 0 2"));
    EXPECT_THAT(ClosingTable(again), ElementsAre("tsmdm030 1 0 2"));
}

// The time zone is part of the service's machine: last updates of incremental copies are UTC.
TEST_F(ServiceTypes, KeepTheirLastUpdateInLocalTimeAfterAFullAndInUtcAfterAnIncrementalCopy) {
    GivenExtract("tsmdm030.csv", kServiceTypes);
    GivenExtract("tsmdm030.audit.csv", kServiceTypeChanges);
    const Environment twelveHoursEast{{"TZ", "XXX-12"}};
    const auto hoursAfterUtc = [&] {
        const auto update = platform::ParseIsoDate(LastUpdate("tsmdm030"));
        return std::lround(static_cast<double>(update->secondsSince1970 - std::time(nullptr)) / 3600);
    };

    Qrxctl({"copy", "tsmdm030", "--full"}, twelveHoursEast);
    EXPECT_EQ(hoursAfterUtc(), 12);

    Qrxctl({"copy", "tsmdm030", "--incremental"}, twelveHoursEast);
    EXPECT_EQ(hoursAfterUtc(), 0);
}

// The sample day of a table: what a full copy inserts, what the day's trail inserts, updates and deletes, and
// the rows after it. The sample's trails insert only what is not there and change only what is.
struct TableDay {
    int full = 0, inserted = 0, updated = 0, deleted = 0;
    int After() const { return full + inserted - deleted; }
};

TableDay SampleDay(const fs::path& extract, const std::string& table) {
    TableDay day;
    platform::CsvReader records(extract / (table + ".csv"), "test");
    while (records.Next()) ++day.full;
    platform::CsvReader trail(extract / (table + ".audit.csv"), "test");
    const std::size_t change = trail.FindColumn("change").value();
    while (trail.Next()) {
        const std::string_view letter = trail.Cell(change);
        ++(letter == "I" ? day.inserted : letter == "U" ? day.updated : day.deleted);
    }
    return day;
}

class SampleWorld : public Site {
protected:
    SampleWorld() {
        fs::remove(extract);
        fs::copy(Sample(), extract);
    }
    // All but the skill combinations, of which every record sets all rows, and the calendars, which have no trail.
    std::vector<std::string> TablesWithADay() const {
        return Rows("SELECT tablename FROM tstables WHERE tablename NOT IN ('tsmdm000', 'tcccp030')");
    }
    int RowCount(const std::string& table) const { return std::stoi(Cell("SELECT count(*) FROM " + table)); }
    // Every row of every table that the copy fills.
    std::vector<std::string> World() const {
        std::vector<std::string> world;
        for (const std::string& table : CatalogTables()) {
            std::vector<std::string> rows = Rows("SELECT * FROM " + table);
            std::ranges::sort(rows);
            world.push_back(table);
            world.insert(world.end(), rows.begin(), rows.end());
        }
        return world;
    }
};

TEST_F(SampleWorld, IsCopiedInFullAndThenByADaysChanges) {
    const Finished full = Qrxctl({"copy", "--all", "--full"});

    EXPECT_EQ(full.exitCode, 0) << full.err;
    EXPECT_THAT(ClosingTable(full), SizeIs(CatalogTables().size()));
    for (const std::string& table : TablesWithADay()) {
        const int rows = SampleDay(extract, table).full;
        EXPECT_EQ(RowCount(table), rows) << table;
        EXPECT_THAT(ClosingTable(full),
                    Contains(table + " " + std::to_string(rows) + " 0 " + std::to_string(rows)));
    }
    EXPECT_THAT(ClosingTable(full), Contains("tssoc206 78 0 78"));
    const int calendarRows = RowCount("tcccp030");
    EXPECT_THAT(calendarRows, Gt(0));

    const Finished incremental = Qrxctl({"copy", "--all", "--incremental", "--since", kMorning});

    EXPECT_EQ(incremental.exitCode, 0) << incremental.err;
    for (const std::string& table : TablesWithADay()) {
        const TableDay day = SampleDay(extract, table);
        EXPECT_EQ(RowCount(table), day.After()) << table;
        EXPECT_THAT(ClosingTable(incremental),
                    Contains(table + " " + std::to_string(day.inserted + day.updated) + " " +
                             std::to_string(day.deleted) + " " + std::to_string(day.After())));
    }
    EXPECT_THAT(ClosingTable(incremental), Contains("tssoc206 39 6 84"));
}

TEST_F(SampleWorld, IsTheSameAfterASecondFullCopy) {
    Qrxctl({"copy", "--all", "--full"});
    const auto first = World();
    const Finished second = Qrxctl({"copy", "--all", "--full"});

    EXPECT_EQ(second.exitCode, 0) << second.err;
    EXPECT_EQ(World(), first);
}

TEST_F(SampleWorld, IsTheSameWhenADaysChangesAreReadTwice) {
    Qrxctl({"copy", "--all", "--full"});
    Qrxctl({"copy", "--all", "--incremental", "--since", kMorning});
    const auto first = World();

    const Finished again = Qrxctl({"copy", "--all", "--incremental", "--since", kMorning});

    EXPECT_EQ(again.exitCode, 0) << again.err;
    EXPECT_EQ(World(), first);
}

TEST_F(SampleWorld, IsTheSameWhicheverProgramCopiesIt) {
    Qrxctl({"copy", "--all", "--full"});
    const auto byTheTool = World();
    for (const std::string& table : Rows("SELECT tablename FROM tstables")) Execute("DELETE FROM " + table);
    for (const std::string& id : Rows("SELECT tableid FROM tstables ORDER BY tableid")) {
        Request request = FullCopy();
        request.table = id;
        EXPECT_EQ(Service(request).exitCode, 0) << id;
    }
    EXPECT_EQ(World(), byTheTool);
}

TEST_F(SampleWorld, KeepsTheCalendarsOfEmployeesAndServiceCentersAlone) {
    Qrxctl({"copy", "--all", "--full"});
    EXPECT_EQ(Rows("SELECT DISTINCT ccal FROM tcccp030 ORDER BY ccal"),
              Rows("SELECT ccal FROM tsmdm140 UNION SELECT ccal FROM tsmdm100 ORDER BY ccal"));
    EXPECT_EQ(Rows("SELECT DISTINCT ccal FROM tcccp031 ORDER BY ccal"),
              Rows("SELECT DISTINCT ccal FROM tcccp030 ORDER BY ccal"));
}

TEST_F(SampleWorld, LeavesTheDaysOrdersInTheChangeLogUntilTheNextFullCopy) {
    Qrxctl({"copy", "tssoc200", "--full"});
    EXPECT_THAT(Rows("SELECT * FROM tssoc200_audit"), IsEmpty());

    Qrxctl({"copy", "tssoc200", "--incremental", "--since", kMorning});
    const auto orders = [&](const std::string& action) {
        return Rows("SELECT orno FROM tssoc200_audit WHERE action = '" + action + "' ORDER BY orno");
    };
    EXPECT_THAT(orders("I"), ElementsAre("SO0000041", "SO0000042", "SO0000043", "SO0000044"));
    EXPECT_THAT(orders("U"), SizeIs(12));
    EXPECT_THAT(orders("D"), ElementsAre("SO0000029", "SO0000039"));
    EXPECT_EQ(Cell("SELECT DISTINCT time FROM tssoc200_audit"), "1900-01-01 00:00:00");

    Qrxctl({"copy", "tssoc200", "--full"});
    EXPECT_THAT(Rows("SELECT * FROM tssoc200_audit"), IsEmpty());
}

TEST_F(SampleWorld, ReadsAnyExtractThatTheToolItselfWrites) {
    const std::string grown = (directory / "grown").string();
    EXPECT_EQ(BareQrxctl({"sample", grown, "--orders", "200", "--changes", "50", "--seed", "7"}).exitCode, 0);

    fs::rename(extract, directory / "before");
    fs::rename(grown, extract);

    const Finished full = Qrxctl({"copy", "--all", "--full"});

    EXPECT_EQ(full.exitCode, 0) << full.err;
    EXPECT_EQ(RowCount("tssoc200"), 200);

    const Finished incremental = Qrxctl({"copy", "--all", "--incremental", "--since", kMorning});

    EXPECT_EQ(incremental.exitCode, 0) << incremental.err;
}

}  // namespace
}  // namespace iqrx::testing
