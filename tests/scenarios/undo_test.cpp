// Rows that a full copy removed, brought back from what it has kept of them.
#include "scenarios/site.h"

namespace iqrx::testing {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class RemovedRows : public Site {
protected:
    // As a full copy leaves them that met ADV only, and swept two rows. One of the texts has two lines.
    RemovedRows() {
        fs::create_directories(undo);
        GivenFile(Kept("tsmdm030"),
                  "-- tsmdm030, 2 rows, run 20261121-104032\n"
                  "INSERT INTO tsmdm030(cstp,dsca,prod,ract,dahe,upd_flag) VALUES(N'INS',N'Inspection',"
                  "N'INSPECT',N'WRK',2,0)\n"
                  "INSERT INTO tsmdm030(cstp,dsca,prod,ract,dahe,upd_flag) VALUES(N'REP',N'Owner''s\n"
                  "repair (big)',N'REPAIR',NULL,1,0)");
        Execute("INSERT INTO tsmdm030 (cstp, dsca, upd_flag) VALUES ('ADV', 'Advice', 0)");
    }

    fs::path Kept(const std::string& table) const { return undo / ("20261121-104032-" + table + ".sql"); }
    Finished Undo(const std::vector<std::string>& more = {}) const {
        std::vector<std::string> arguments{"undo", "20261121-104032"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return Qrxctl(arguments);
    }
    std::vector<std::string> ServiceTypes() const { return Rows("SELECT cstp FROM tsmdm030 ORDER BY cstp"); }

    const fs::path undo = State() / "undo";
};

TEST_F(RemovedRows, AreBroughtBackAsTheyWere) {
    const Finished run = Undo();
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.out, "tsmdm030  2 rows brought back, as they were at 2026-11-21 10:40:32\n");
    EXPECT_THAT(Rows(kSelectServiceTypes),
                ElementsAre("ADV|Advice|NULL|NULL|NULL|0", "INS|Inspection|INSPECT|WRK|2|0",
                            "REP|Owner's\nrepair (big)|REPAIR|NULL|1|0"));
}

TEST_F(RemovedRows, AreBroughtBackOnce) {
    EXPECT_EQ(Undo().exitCode, 0);
    Execute("DELETE FROM tsmdm030 WHERE cstp = 'INS'");
    const Finished again = Undo();
    EXPECT_EQ(again.exitCode, 0);
    EXPECT_THAT(again.out, AllOf(HasSubstr("note"), HasSubstr("brought back before")));
    EXPECT_THAT(ServiceTypes(), ElementsAre("ADV", "REP"));
}

TEST_F(RemovedRows, ThatAreThereAgainAreLeftAlone) {
    Execute("INSERT INTO tsmdm030 (cstp, dsca) VALUES ('INS', 'Yearly inspection')");
    const Finished run = Undo();
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_THAT(run.out,
                AllOf(HasSubstr("1 row brought back"), HasSubstr("1 is there again and was left alone")));
    EXPECT_EQ(Cell("SELECT dsca FROM tsmdm030 WHERE cstp = 'INS'"), "Yearly inspection");
}

TEST_F(RemovedRows, AreBroughtBackAllOrNone) {
    GivenFile(Kept("tsmdm030"),
              "-- tsmdm030, 2 rows, run 20261121-104032\n"
              "INSERT INTO tsmdm030(cstp,upd_flag) VALUES(N'INS',0)\n"
              "INSERT INTO tsmdm030(cstp,upd_flag) VALUES(N'RE");
    const Finished run = Undo();
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(Unwrapped(run.err), HasSubstr("tsmdm030.sql, line 3"));
    EXPECT_THAT(ServiceTypes(), ElementsAre("ADV"));
    EXPECT_TRUE(fs::exists(Kept("tsmdm030")));
}

// A process that was killed had no time to say that they are gone, nor to write the last one to its end.
TEST_F(RemovedRows, OfACopyThatWasKilledAreBroughtBackToo) {
    fs::remove(Kept("tsmdm030"));
    for (const char* cut : {"", "INSERT INTO tsmdm030(cstp,upd_flag) VALUES(N'RE", "INSERT INTO tsm"}) {
        SCOPED_TRACE(cut);
        GivenFile(undo / "20261121-104032-tsmdm030.part",
                  std::string("-- tsmdm030, run 20261121-104032\n"
                              "INSERT INTO tsmdm030(cstp,upd_flag) VALUES(N'INS',0)\n") +
                      cut);
        Execute("DELETE FROM tsmdm030 WHERE cstp = 'INS'");
        EXPECT_EQ(Undo().exitCode, 0);
        EXPECT_THAT(ServiceTypes(), ElementsAre("ADV", "INS"));
        EXPECT_FALSE(fs::exists(undo / "20261121-104032-tsmdm030.part"));
        fs::remove(undo / "20261121-104032-tsmdm030.undone");
    }
}

TEST_F(RemovedRows, OfARunThatWasResumedAreBroughtBackTogether) {
    GivenFile(undo / "20261121-104032-tsmdm030.2.sql", "INSERT INTO tsmdm030(cstp,upd_flag) VALUES(N'WIN',0)");
    EXPECT_EQ(Undo({"tsmdm030"}).exitCode, 0);
    EXPECT_THAT(ServiceTypes(), ElementsAre("ADV", "INS", "REP", "WIN"));
}

TEST_F(RemovedRows, StayAwayWhileTheTableIsLocked) {
    Execute("UPDATE tstables SET in_use = 1 WHERE tablename = 'tsmdm030'");
    const Finished run = Undo();
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_THAT(run.out,
                AllOf(HasSubstr("stopped  tsmdm030  is locked"), HasSubstr("-> qrxctl unlock tsmdm030")));
    EXPECT_THAT(ServiceTypes(), ElementsAre("ADV"));
    EXPECT_TRUE(fs::exists(Kept("tsmdm030")));
}

TEST_F(RemovedRows, AreChosenByTheirTable) {
    GivenFile(Kept("tsmdm130"), "INSERT INTO tsmdm130(skll,upd_flag) VALUES(N'S1',0)");
    EXPECT_EQ(Undo({"TSMDM130"}).exitCode, 0);
    EXPECT_THAT(ServiceTypes(), ElementsAre("ADV"));
    EXPECT_THAT(Rows("SELECT skll FROM tsmdm130"), ElementsAre("S1"));
    EXPECT_EQ(Undo({"tsmdm100"}).exitCode, 64);
}

TEST_F(RemovedRows, OfATableWithoutAKeyComeBackToo) {
    GivenFile(Kept("tsmdm000"), "INSERT INTO tsmdm000(skla,upd_flag) VALUES(N'A',0)");
    EXPECT_EQ(Undo({"tsmdm000"}).exitCode, 0);
    EXPECT_THAT(Rows("SELECT skla FROM tsmdm000"), ElementsAre("A"));
}

TEST_F(RemovedRows, AreThoseOfOneRun) {
    GivenFile(undo / "20261121-104032-2-tsmdm130.sql", "INSERT INTO tsmdm130(skll) VALUES(N'S1')");
    EXPECT_EQ(Undo().exitCode, 0);
    EXPECT_THAT(Rows("SELECT skll FROM tsmdm130"), IsEmpty());
    const Finished unknown = Qrxctl({"undo", "20261122"});
    EXPECT_EQ(unknown.exitCode, 64);
    EXPECT_THAT(Unwrapped(unknown.err), HasSubstr("no run 20261122"));
    EXPECT_EQ(Qrxctl({"undo"}).exitCode, 64);
}

TEST_F(RemovedRows, AreToldAsJsonOrNotAtAll) {
    EXPECT_EQ(Undo({"-q"}).out, "");
    EXPECT_EQ(JsonCell("SELECT json_extract('" + Undo({"--json"}).out + "', '$.tables[0].outcome')"),
              "undone before");
}

class Initialising : public Site {};

TEST_F(Initialising, SaysWhatIsInPlaceAndWhatIsNew) {  // D
    EXPECT_EQ(Qrxctl({"init"}).out, "ok  28 tables, 19 catalog entries, 0 new\n");
    Execute("DELETE FROM tstables WHERE tablename = 'tsmdm105'");
    EXPECT_EQ(Qrxctl({"init"}).out, "ok  28 tables, 19 catalog entries, 1 new\n");
    EXPECT_EQ(Qrxctl({"init", "-q"}).out, "");
    EXPECT_EQ(JsonCell("SELECT json_extract('" + Qrxctl({"init", "--json"}).out + "', '$.new_entries')"), "0");
}

TEST_F(Initialising, ShowsTheStatementOfATable) {
    const Finished shown = Qrxctl({"init", "--show", "TSMDM030"});
    EXPECT_EQ(shown.exitCode, 0) << shown.err;
    Execute("DROP TABLE tsmdm030; " + shown.out);
    EXPECT_THAT(Rows("SELECT cstp, dsca, prod, ract, dahe, upd_flag FROM tsmdm030"), IsEmpty());
    EXPECT_THAT(BareQrxctl({"--platform", "oracle", "init", "--show", "tsmdm030"}).out,
                HasSubstr("NVARCHAR2(3)"));
    EXPECT_EQ(Qrxctl({"init", "--show", "tsmdm031"}).exitCode, 64);
}

}  // namespace
}  // namespace iqrx::testing
