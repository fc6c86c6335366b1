#include "journal/exported.h"

#include <chrono>

#include "journal/journal_fixture.h"

namespace iqrx::journal {
namespace {

class ExportedTest : public JournalTest {
protected:
    ExportedTest() { create_directory(place); }

    // A file that was changed that many seconds after 1970 began in Greenwich.
    void Changed(const std::string& name, std::int64_t seconds) const {
        Fill(name, "cstp\n");
        last_write_time(place / name, std::chrono::file_clock::from_sys(
                                          std::chrono::sys_seconds(std::chrono::seconds(seconds))));
    }
    std::string MomentOf(const std::vector<std::string>& files) {
        const ExportMoment moment = ExportMomentOf(place, files, host);
        problem = moment.problem;
        isStated = moment.isStated;
        return moment.at ? platform::IsoDateTime(*moment.at) : "none";
    }

    std::string problem;
    bool isStated = false;
    const std::int64_t noon = At("12:00:00").secondsSince1970;
    const std::vector<std::string> both = {"tsmdm030.csv", "tsmdm030.audit.csv"};
};

TEST_F(ExportedTest, IsWhatTheExportSays) {
    Changed("tsmdm030.csv", noon);
    for (const char* text : {"2026-11-21 01:00:00", "2026-11-21 01:00:00\n", "2026-11-21 01:00:00\r\n",
                             "\xEF\xBB\xBF"
                             "2026-11-21 01:00:00\n"}) {
        Fill("EXPORTED", text);
        EXPECT_EQ(MomentOf(both), "2026-11-21 01:00:00") << text;
        EXPECT_EQ(problem, "");
        EXPECT_TRUE(isStated);
    }
}

TEST_F(ExportedTest, IsOtherwiseTheOldestLocalChangeOfTheFilesThatAreRead) {
    Changed("tsmdm030.csv", noon + 60);
    Changed("tsmdm030.audit.csv", noon);
    Changed("tsmdm100.csv", 0);
    EXPECT_EQ(MomentOf(both), "2026-11-21 13:00:00");  // an hour east of Greenwich
    EXPECT_EQ(MomentOf({"tsmdm030.csv"}), "2026-11-21 13:01:00");
    EXPECT_FALSE(isStated);
    EXPECT_EQ(problem, "");
}

TEST_F(ExportedTest, IsUnknownWhenNoFileIsThere) {
    EXPECT_EQ(MomentOf(both), "none");
    EXPECT_EQ(problem, "");
}

TEST_F(ExportedTest, AFileThatIsMissingIsPassedOver) {
    Changed("tsmdm030.audit.csv", noon);
    EXPECT_EQ(MomentOf(both), "2026-11-21 13:00:00");
}

TEST_F(ExportedTest, WhatDoesNotSayWhenIsToldAndCountsAsAbsent) {
    Changed("tsmdm030.csv", noon);
    for (const char* text :
         {"", "yesterday", "2026-11-21", "2026-11-21 25:00:00", "2026-11-21 01:00:00\nmore"}) {
        Fill("EXPORTED", text);
        EXPECT_EQ(MomentOf(both), "2026-11-21 13:00:00") << text;
        EXPECT_EQ(problem, PathOf("EXPORTED") + ": it does not hold one line YYYY-MM-DD HH:MM:SS") << text;
    }
}

TEST_F(ExportedTest, WhatCannotBeReadIsToldAndCountsAsAbsent) {
    Changed("tsmdm030.csv", noon);
    create_directory(place / "EXPORTED");
    EXPECT_EQ(MomentOf(both), "2026-11-21 13:00:00");
    EXPECT_EQ(problem, PathOf("EXPORTED") + ": it is not a regular file");
}

}  // namespace
}  // namespace iqrx::journal
