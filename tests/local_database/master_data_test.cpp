// Whole copies of master data into the local database: full, look, incremental, look.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

#include "erp/extract/extract_erp.h"
#include "support/local_process.h"
#include "tables/routines.h"

namespace iqrx::testing {
namespace {

using namespace std::string_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ExtractProvider : public erp::ErpProvider {
public:
    std::unique_ptr<erp::Erp> Open(const std::string& runParameter, const erp::Notice&) override {
        return erp::extract::OpenExtract(runParameter);
    }
};

// The ERP is an extract directory that the test writes.
class LocalCopies : private ExtractProvider, public LocalProcess, public ::testing::Test {
protected:
    LocalCopies() : LocalProcess(static_cast<erp::ErpProvider&>(*this)) {}
    void Write(const std::string& file, const std::string& content) {
        std::ofstream(directory.path / file, std::ios::binary) << content;
    }
    void Copy(control::Routine* copy, const std::string& table, platform::Integer syncMethod) {
        run.counters = {};
        copy({run, table, directory.path.string(), syncMethod});
    }
    void ExpectCounts(platform::Long inserted, platform::Long updated, platform::Long deleted) {
        EXPECT_EQ(run.counters.inserted, inserted);
        EXPECT_EQ(run.counters.updated, updated);
        EXPECT_EQ(run.counters.deleted, deleted);
    }
};

TEST_F(LocalCopies, OfSkillsFollowTheErpInFullAndThenByItsTrail) {
    Execute("INSERT INTO tsmdm130 (skll,dsca,clrt,upd_flag) VALUES (N'OLD',N'no longer there',N'',0)");
    Write("tsmdm130.csv", "skll,desc,clrt\nELEC,Electrics,L1\nMECH,\"Fitter's work\",\n");
    Copy(tables::CopySkills, "tsmdm130", 1);
    EXPECT_THAT(Rows("SELECT * FROM tsmdm130 ORDER BY skll", {"skll", "dsca", "clrt", "upd_flag"}),
                ElementsAre("ELEC|Electrics|L1|0", "MECH|Fitter's work||0"));
    ExpectCounts(2, 0, 0);  // the row that was swept is not counted

    clock.now = At("2026-03-05 05:06:07");
    Write("tsmdm130.audit.csv",
          "changed_at,change,skll,desc,clrt\n"
          "2026-03-04 02:00:00,U,ELEC,before the window,L9\n"
          "2026-03-04 12:00:00,U,ELEC,Electronics,L2\n"
          "2026-03-04 13:00:00,I,COOL,Cooling,L3\n"
          "2026-03-04 14:00:00,D,MECH,,\n"
          "2026-03-05 06:00:00,U,ELEC,after the window,L9\n");
    Copy(tables::CopySkills, "tsmdm130", 2);
    EXPECT_THAT(Rows("SELECT * FROM tsmdm130 ORDER BY skll", {"skll", "dsca", "clrt", "upd_flag"}),
                ElementsAre("COOL|Cooling|L3|0", "ELEC|Electronics|L2|0"));
    ExpectCounts(1, 1, 1);
    EXPECT_EQ(LastUpdate("tsmdm130"), "2026-03-05 04:06:07");

    Copy(tables::CopySkills, "tsmdm130", 2);  // nothing new: the window has moved on
    ExpectCounts(0, 0, 0);
}

TEST_F(LocalCopies, OfAFailedExportLeaveTheTableAndOfAnEmptyTableEmptyIt) {
    const auto rows = [&] { return Rows("SELECT * FROM tsmdm130 ORDER BY skll", {"skll", "upd_flag"}); };
    Write("tsmdm130.csv", "skll,desc,clrt\nELEC,Electrics,L1\n");
    Copy(tables::CopySkills, "tsmdm130", 1);
    std::filesystem::remove(directory.path / "tsmdm130.csv");
    EXPECT_THROW(Copy(tables::CopySkills, "tsmdm130", 1), platform::RuntimeError);
    EXPECT_THAT(rows(), ElementsAre("ELEC|0"));
    for (const char* failed : {"", "skll,desc\n", "skll;desc;clrt\n", "\xFF\xFEs"}) {
        Write("tsmdm130.csv", failed);
        EXPECT_THROW(Copy(tables::CopySkills, "tsmdm130", 1), platform::RuntimeError);
        EXPECT_THAT(rows(), ElementsAre("ELEC|0"));
    }
    Write("tsmdm130.csv", "skll,desc,clrt\n");
    Copy(tables::CopySkills, "tsmdm130", 1);
    EXPECT_THAT(rows(), IsEmpty());
}

TEST_F(LocalCopies, OfAFailedExportOfTheTrailKeepTheLastUpdate) {
    GivenTable("tsmdm130", 0);
    const std::string before = LastUpdate("tsmdm130");
    EXPECT_THROW(Copy(tables::CopySkills, "tsmdm130", 2), platform::RuntimeError);
    for (const char* failed : {"", "changed_at,change,skll,desc\n", "changed_at\tchange\tskll\tdesc\tclrt\n"}) {
        Write("tsmdm130.audit.csv", failed);
        EXPECT_THROW(Copy(tables::CopySkills, "tsmdm130", 2), platform::RuntimeError);
        EXPECT_EQ(LastUpdate("tsmdm130"), before);
    }
    Write("tsmdm130.audit.csv", "changed_at,change,skll,desc,clrt\n");
    Copy(tables::CopySkills, "tsmdm130", 2);
    EXPECT_NE(LastUpdate("tsmdm130"), before);
}

TEST_F(LocalCopies, ThatFailLeaveTheUnconfirmedRowsMarked) {
    Write("tsmdm130.csv", "skll,desc,clrt\nELEC,Electrics,L1\nMECH,Mechanics,L2\n");
    Copy(tables::CopySkills, "tsmdm130", 1);
    Write("tsmdm130.csv", "skll,desc,clrt\nELEC,Electronics,L1\n\"MECH,Mechanics,L2\n");
    EXPECT_THROW(Copy(tables::CopySkills, "tsmdm130", 1), platform::RuntimeError);
    EXPECT_THAT(Rows("SELECT * FROM tsmdm130 ORDER BY skll", {"skll", "dsca", "clrt", "upd_flag"}),
                ElementsAre("ELEC|Electronics|L1|0", "MECH|Mechanics|L2|1"));
}

TEST_F(LocalCopies, SweepAnAddressWhoseCodeLiesOutsideTheRange) {
    const std::string outside(9, '\x7f');
    Execute("INSERT INTO tccom130(cadr,nama,namc,hono,name,pstc,upd_flag) VALUES(N'" + outside +
            "',N'',N'',N'',N'',N'',0)");
    Write("tccom130.csv",
          "cadr,nama,namc,hono,name,pstc\nADR1,Home,Street,1,Town,Z1\n" + outside + ",Nowhere,,,,\n");
    Copy(tables::CopyAddresses, "tccom130", 1);
    EXPECT_THAT(Rows("SELECT * FROM tccom130", {"cadr", "nama"}), ElementsAre("ADR1|Home"));
}

TEST_F(LocalCopies, OfSolutionTimesKeepTheirNumericKeys) {
    Write("tsclm024.csv", "sltt,desc\n30.125,Half an hour\n1440,A day\n");
    Copy(tables::CopySolutionTimes, "tsclm024", 1);
    EXPECT_THAT(Rows("SELECT * FROM tsclm024 ORDER BY sltt", {"sltt", "dsca"}),
                ElementsAre("30.12|Half an hour", "1440|A day"));
    clock.now = At("2026-03-05 05:06:07");
    Write("tsclm024.audit.csv", "changed_at,change,sltt,desc\n2026-03-04 12:00:00,D,30.125,\n");
    Copy(tables::CopySolutionTimes, "tsclm024", 2);
    EXPECT_THAT(Rows("SELECT * FROM tsclm024 ORDER BY sltt", {"sltt", "dsca"}), ElementsAre("1440|A day"));
}

TEST_F(LocalCopies, OfSkillCombinationsIntoAnEmptyTableLeaveTheLastRecord) {
    Write("tsmdm000.csv", "seqn,skla,sklb,sklc,untd\n1,A,B,C,hour\n2,D,E,F,hour\n3,G,H,I,day\n");
    Copy(tables::CopySkillCombinations, "tsmdm000", 1);
    EXPECT_THAT(
        Rows("SELECT * FROM tsmdm000 ORDER BY skla, sklb", {"skla", "sklb", "sklc", "untd", "upd_flag"}),
        ElementsAre("G|H|I|day|0"));
    ExpectCounts(1, 2, 0);
}

TEST_F(LocalCopies, OfSkillCombinationsKeepTheNumberOfRows) {
    for (const char* skill : {"A", "B"})
        Execute("INSERT INTO tsmdm000 (skla,sklb,sklc,untd,upd_flag) VALUES (N'"s + skill + "',N'',N'',N'',0)");
    Write("tsmdm000.csv", "seqn,skla,sklb,sklc,untd\n1,A,B,C,hour\n2,D,E,F,hour\n");
    Copy(tables::CopySkillCombinations, "tsmdm000", 1);
    EXPECT_THAT(
        Rows("SELECT * FROM tsmdm000 ORDER BY skla, sklb", {"skla", "sklb", "sklc", "untd", "upd_flag"}),
        ElementsAre("D|E|F|hour|0", "D|E|F|hour|0"));
}

TEST_F(LocalCopies, OfADeletedSkillCombinationRemoveAllThatBeginWithItsFirstSkill) {
    for (const char* skills : {"N'A',N'B'", "N'A',N'C'", "N'B',N'A'"})
        Execute("INSERT INTO tsmdm000 (skla,sklb,sklc,untd,upd_flag) VALUES ("s + skills + ",N'',N'',0)");
    Write("tsmdm000.audit.csv", "changed_at,change,seqn,skla,sklb,sklc,untd\n2026-03-04 05:00:00,D,1,A,B,,\n");
    Copy(tables::CopySkillCombinations, "tsmdm000", 2);
    EXPECT_THAT(Rows("SELECT * FROM tsmdm000 ORDER BY skla, sklb", {"skla", "sklb"}), ElementsAre("B|A"));
    ExpectCounts(0, 0, 1);
}

TEST_F(LocalCopies, OfServiceObjectsComeInPagesFromTheExtract) {
    std::string objects = "ccfg,crob,oseq,desc,cogr,emno,cusc,manu,ccal,cdel\n";
    for (int i = 1; i <= 1501; ++i)
        objects += "C" + std::to_string(i) + ",PUMP,1,Pump " + std::to_string(i) + ",G,E,CU,MA,CA,D\n";
    Write("tscfg200.csv", objects);
    Copy(tables::CopyServiceObjects, "tscfg200", 1);
    EXPECT_EQ(Rows("SELECT * FROM tscfg200", {"ccfg"}).size(), 1501U);
    EXPECT_THAT(Rows("SELECT * FROM tscfg200 WHERE ccfg = N'C1501'", {"dsca", "cusc", "manu", "ccal", "cdel"}),
                ElementsAre("Pump 1501||||D"));
    ExpectCounts(1501, 0, 0);
}

}  // namespace
}  // namespace iqrx::testing
