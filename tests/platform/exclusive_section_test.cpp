#include "platform/database_failure.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace iqrx::platform {
namespace {

TEST(Victims, AreNamedByAnyOfTheErrors) {
    const auto named = [](const std::string& state, const std::string& words) {
        return NamesAVictim({{1, "driver", "first", "01000"}, {2, "driver", words, state}});
    };
    EXPECT_TRUE(named("40001", "deadlock victim"));
    EXPECT_TRUE(named("40P01", "deadlock detected"));
    EXPECT_TRUE(named("23505", "duplicate key"));
    EXPECT_TRUE(named("HY000", "[SQLite]database is locked (5)"));
    EXPECT_TRUE(named("HYT00", "database table is locked"));
    for (const char* code : {"ORA-08177", "ORA-00060", "ORA-00001"})
        EXPECT_TRUE(named("HY000", std::string("[Oracle][ODBC][Ora]") + code + ": words")) << code;
    EXPECT_FALSE(named("42S02", "no such table"));
    EXPECT_FALSE(named("HY000", "ORA-00942: table or view does not exist"));
    EXPECT_FALSE(NamesAVictim({}));
}

TEST(Victims, AreRunUntilTheyAreNone) {
    int attempts = 0;
    RepeatForVictims(
        [&] {
            if (++attempts < 4) throw std::runtime_error("victim");
        },
        [] { return true; });
    EXPECT_EQ(attempts, 4);
}

TEST(Victims, AreNotMadeOfOtherFailures) {
    int attempts = 0;
    EXPECT_THROW(RepeatForVictims(
                     [&] {
                         ++attempts;
                         throw std::runtime_error("no victim");
                     },
                     [] { return false; }),
                 std::runtime_error);
    EXPECT_EQ(attempts, 1);
}

TEST(Victims, AreGivenUpInTheEnd) {
    int attempts = 0;
    EXPECT_THROW(RepeatForVictims(
                     [&] {
                         ++attempts;
                         throw std::runtime_error("always the victim");
                     },
                     [] { return true; }),
                 std::runtime_error);
    EXPECT_GE(attempts, 20) << "too soon: giving up costs the whole request";
}

}  // namespace
}  // namespace iqrx::platform
