#include "journal/timestamp.h"

#include <gtest/gtest.h>

#include "platform/date.h"

namespace iqrx::journal {
namespace {

platform::Date At(const char* text) { return platform::ParseIsoDate(text).value(); }

TEST(Timestamps, AreLocalTimeWithTheirOffset) {
    const platform::Date local = At("2026-11-21 10:40:32");
    EXPECT_EQ(Rfc3339({local, 60}), "2026-11-21T10:40:32+01:00");
    EXPECT_EQ(Rfc3339({local, 0}), "2026-11-21T10:40:32+00:00");
    EXPECT_EQ(Rfc3339({local, -210}), "2026-11-21T10:40:32-03:30");
}

TEST(Timestamps, AreReadAsTheyAreWritten) {
    const auto read = ParseRfc3339("2026-11-21T10:40:32-03:30");
    ASSERT_TRUE(read);
    EXPECT_EQ(platform::IsoDateTime(read->local), "2026-11-21 10:40:32");
    EXPECT_EQ(read->offsetMinutes, -210);
    EXPECT_EQ(platform::IsoDateTime(read->Utc()), "2026-11-21 14:10:32");
}

TEST(Timestamps, OfOtherProgramsAreRead) {
    EXPECT_EQ(ParseRfc3339("2026-11-21T10:40:32Z")->offsetMinutes, 0);
    EXPECT_EQ(platform::IsoTime(ParseRfc3339("2026-11-21T10:40:32.987+01:00")->local), "10:40:32");
}

TEST(Timestamps, WithoutAnOffsetOrWithAnythingElseWrongAreNone) {
    for (const char* text : {"", "2026-11-21T10:40:32", "2026-11-21 10:40:32+01:00", "2026-11-21T10:40:32+1:00",
                             "2026-11-21T10:40:32+24:00", "2026-11-21T10:40:32+01:60", "2026-11-21T10:40:32.Z",
                             "2026-13-21T10:40:32Z", "2026-11-21T10:40:32+01:00 ", "2026-11-21T10:40"})
        EXPECT_FALSE(ParseRfc3339(text)) << text;
}

}  // namespace
}  // namespace iqrx::journal
