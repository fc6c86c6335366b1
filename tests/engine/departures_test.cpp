// Where a master-data table leaves the pattern.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/test_process.h"
#include "tables/routines.h"

namespace iqrx::testing {
namespace {

using namespace std::string_literals;
using ::testing::ElementsAre;

class SolutionTimes : public TestProcess, public ::testing::Test {
protected:
    SolutionTimes() {
        OpenDatabase();
        database.defaultAffected = 1;
    }
    const Fields solutionTime = {{"getSolutionTimeInMinutes", 30.125}, {"getDescription", "Half"s}};
};

TEST_F(SolutionTimes, AreFetchedByARangeOfSinglePrecisionNumbers) {
    erp.onFetch = [](auto, std::span<platform::Argument> bounds) {
        ASSERT_EQ(bounds.size(), 2U);
        EXPECT_EQ(bounds[0].value, platform::Value(platform::Single{0}));
        EXPECT_EQ(bounds[1].value, platform::Value(platform::Single{100000}));
    };
    tables::CopySolutionTimes({run, "tsclm024", "run parameter", 1});
}

TEST_F(SolutionTimes, AreDeletedByTheNumberAsTheUsersLocaleWritesIt) {
    locale.separator = ",";
    erp.trail = {{"U", solutionTime}, {"D", solutionTime}};
    tables::CopySolutionTimes({run, "tsclm024", "run parameter", 2});
    EXPECT_THAT(database.executed,
                ElementsAre("UPDATE tsclm024 SET dsca = N'Half',upd_flag = 0 WHERE sltt = 30.12",
                            "DELETE FROM tsclm024 WHERE sltt=30,12",
                            "UPDATE tstables SET lutm  = CONVERT(DATETIME,'2026-03-04 04:06:07',120) WHERE "
                            "tablename = N'tsclm024'"));
}

}  // namespace
}  // namespace iqrx::testing
