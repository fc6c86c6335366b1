// Where a configuration table or the skill combinations leave the pattern.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/error.h"
#include "support/test_process.h"
#include "tables/calendars/object_pages.h"
#include "tables/routines.h"

namespace iqrx::testing {
namespace {

using namespace std::string_literals;
using platform::Integer;
using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

int Occurrences(const std::string& text, const std::string& part) {
    int count = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
    return count;
}

class ServiceObjects : public TestProcess, public ::testing::Test {
protected:
    ServiceObjects() {
        OpenDatabase();
        database.defaultAffected = 1;
        xml.texts = {{"SLBL0456", "The full copy of %1 failed."},
                     {"SLBL0507", "%1: %2"},
                     {"STIT0015", "Service Objects"},
                     {"STIT0095", "Data Copy"},
                     {"SLBL0375", "Inserted %1"}};
        ServeObjectPages(erp);
    }
    void GivenObjects(int count) {
        for (int i = 1; i <= count; ++i)
            erp.records.push_back({{"getConfiguration", "C" + std::to_string(i)},
                                   {"GetObject", "O" + std::to_string(i)},
                                   {"getObjectNumber", static_cast<Integer>(i)},
                                   {"getDescription", ""s},
                                   {"getObjectGroup", ""s},
                                   {"getServiceEmployee", ""s},
                                   {"getDeliveryCode", ""s}});
    }
    void CopyFull() { tables::CopyServiceObjects({run, "tscfg200", "run parameter", 1}); }
    // How many objects each batch holds.
    std::vector<int> Batches() const {
        std::vector<int> sizes;
        for (const std::string& text : database.executed)
            if (text.starts_with("DECLARE")) sizes.push_back(Occurrences(text, "select @iCount"));
        return sizes;
    }
    std::vector<std::string> Listings() const {
        std::vector<std::string> calls;
        for (const std::string& call : erp.calls)
            if (call.starts_with("manager.ListObjects")) calls.push_back(call);
        return calls;
    }
};

TEST_F(ServiceObjects, GoToTheServerFifteenAtATime) {
    GivenObjects(31);
    CopyFull();
    EXPECT_THAT(Batches(), ElementsAre(15, 15, 1));
    EXPECT_EQ(run.counters.inserted, 31);
    EXPECT_THAT(RunLog(), HasSubstr("Inserted tscfg200 -  31"));
}

TEST_F(ServiceObjects, LeaveNoEmptyBatchBehindAFullOne) {
    GivenObjects(15);
    CopyFull();
    EXPECT_THAT(Batches(), ElementsAre(15));
}

TEST_F(ServiceObjects, AreListedInPagesOf750FromTheLastObjectsKeyOn) {
    GivenObjects(1501);
    CopyFull();
    EXPECT_THAT(Listings(), ElementsAre("manager.ListObjects('', '', 0, 750, 0, 'N')",
                                        "manager.ListObjects('C750', 'O750', 750, 750, 42, 'N')",
                                        "manager.ListObjects('C1500', 'O1500', 1500, 750, 42, 'N')"));
    EXPECT_EQ(run.counters.inserted, 1501);
    EXPECT_EQ(Batches().size(), 50U + 50U + 1U);
}

TEST_F(ServiceObjects, AreAskedForAPageInThisOrder) {
    GivenObjects(2);
    CopyFull();
    EXPECT_THAT(erp.calls, ElementsAre("create manager tscfg200", "manager.SetRunParameter('run parameter')",
                                       "manager.ListObjects('', '', 0, 750, 0, 'N')",
                                       "page.getRecordSetObjects()", "page objects.sizeObjects()",
                                       "page objects.getObjectsAt(0)", "page objects.getObjectsAt(1)",
                                       "page.getSetComplete()", "manager.CloseManager()"));
}

TEST_F(ServiceObjects, AreNeitherMarkedNorSwept) {
    CopyFull();
    EXPECT_THAT(database.executed, ElementsAre("UPDATE tstables SET lutm  = CONVERT(DATETIME,'2026-03-04 "
                                               "05:06:07',120) WHERE tablename = N'tscfg200'"));
}

TEST_F(ServiceObjects, StayAsTheyAreWhenTheErpAnswersNoPage) {
    erp.onManagerMember = {};
    CopyFull();
    EXPECT_THAT(database.executed, IsEmpty());
    EXPECT_EQ(RunLog(), "");
    EXPECT_EQ(erp.calls.back(), "manager.CloseManager()");
}

TEST_F(ServiceObjects, OfAFailingBatchAreReportedAndTheEarlierOnesStay) {
    GivenObjects(31);
    database.FailStatement(3, platform::RuntimeError(-2147467259, "server", "deadlock"));  // the second batch
    try {
        CopyFull();
        FAIL() << "no error";
    } catch (const platform::RuntimeError& error) {
        EXPECT_EQ(error.number, -2147467259);
        EXPECT_EQ(error.description, "Data Copy: The full copy of Service Objects failed.");
    }
    EXPECT_THAT(Batches(), ElementsAre(15, 15));
    EXPECT_THAT(database.executed, Each(StartsWith("DECLARE")));
    EXPECT_THAT(RunLog(), HasSubstr("deadlock"));
    EXPECT_EQ(erp.calls.back(), "manager.CloseManager()");
}

TEST_F(ServiceObjects, StopAtAPageWithoutObjectsThatIsNotTheLast) {
    GivenObjects(1);
    erp.onManagerMember = [&](auto member, auto) -> platform::Value {
        if (member != "ListObjects") return {};
        return std::make_shared<FakeObject>("page", &erp.calls, [](auto asked, auto) -> platform::Value {
            if (asked != "getRecordSetObjects") return "N"s;
            return std::make_shared<FakeObject>("page objects", nullptr,
                                                [](auto, auto) -> platform::Value { return Integer{0}; });
        });
    };
    EXPECT_THROW(CopyFull(), platform::RuntimeError);
    EXPECT_EQ(Listings().size(), 1U);
}

class SkillCombinations : public TestProcess, public ::testing::Test {
protected:
    SkillCombinations() {
        OpenDatabase();
        xml.texts = {{"SLBL0456", "The full copy of %1 failed."},
                     {"SLBL0507", "%1: %2"},
                     {"STIT0087", "Skill Combinations"},
                     {"STIT0095", "Data Copy"},
                     {"SLBL0375", "Inserted %1"},
                     {"SLBL0376", "Updated %1"}};
        database.WhenExecutedBeginning("UPDATE tstables", 1);
    }
    static Fields Combination(const std::string& first) {
        return {
            {"getSkillI", first}, {"getSkillII", "B"s}, {"getSkillIII", "C"s}, {"getTimeDurationUnit", "hr"s}};
    }
};

TEST_F(SkillCombinations, OfAnEmptyTableEndAsOneRowWithTheLastRecord) {
    erp.records = {Combination("A1"), Combination("A2"), Combination("A3")};
    database.WhenExecutedBeginning("UPDATE tsmdm000", 1);
    database.WhenExecutedBeginning("UPDATE tsmdm000 SET skla = N'A1'", 0);
    tables::CopySkillCombinations({run, "tsmdm000", "run parameter", 1});
    EXPECT_EQ(database.executed.size(), 5U);
    EXPECT_EQ(run.counters.inserted, 1);
    EXPECT_EQ(run.counters.updated, 2);
    EXPECT_THAT(RunLog(), HasSubstr("Inserted tsmdm000 -  1"));
    EXPECT_THAT(RunLog(), HasSubstr("Updated tsmdm000 -  2"));
}

TEST_F(SkillCombinations, CountAnInsertWhateverTheServerReports) {
    erp.records = {Combination("A1")};
    tables::CopySkillCombinations({run, "tsmdm000", "run parameter", 1});
    EXPECT_THAT(database.executed, Contains("INSERT INTO tsmdm000 (skla,sklb,sklc,untd,upd_flag) VALUES "
                                            "(N'A1',N'B',N'C',N'hr',0)"));
    EXPECT_EQ(run.counters.inserted, 1);
}

TEST_F(SkillCombinations, AreDeletedByTheirFirstSkillAlone) {
    erp.trail = {{"D", Combination("A1")}};
    tables::CopySkillCombinations({run, "tsmdm000", "run parameter", 2});
    EXPECT_THAT(database.executed, Contains("DELETE FROM tsmdm000 WHERE skla= N'A1'"));
    EXPECT_EQ(run.counters.deleted, 1);
}

TEST_F(SkillCombinations, StayAsTheyAreWhenTheErpAnswersNoEnumerator) {
    erp.hasEnumerator = false;
    tables::CopySkillCombinations({run, "tsmdm000", "run parameter", 1});
    EXPECT_THAT(database.executed, IsEmpty());
    EXPECT_EQ(RunLog(), "");
}

TEST_F(SkillCombinations, ReportAFailingIncrementalCopyInTheWordsOfAFullOne) {
    erp.trail = {{"U", Combination("A1")}};
    erp.failAt = 1;
    try {
        tables::CopySkillCombinations({run, "tsmdm000", "run parameter", 2});
        FAIL() << "no error";
    } catch (const platform::RuntimeError& error) {
        EXPECT_EQ(error.description, "Data Copy: The full copy of Skill Combinations failed.");
    }
    EXPECT_THAT(database.executed, Not(Contains(StartsWith("UPDATE tstables"))));
}

}  // namespace
}  // namespace iqrx::testing
