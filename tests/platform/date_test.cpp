#include "platform/date.h"

#include <gtest/gtest.h>

namespace iqrx::platform {
namespace {

TEST(Dates, ReadAndWriteTheIsoForm) {
    for (const char* text :
         {"2009-05-07 08:00:59", "1969-12-31 23:59:59", "1899-12-30 00:00:00", "2000-02-29 12:34:56"})
        EXPECT_EQ(IsoDateTime(ParseIsoDate(text).value()), text);
    EXPECT_EQ(IsoDateTime(ParseIsoDate("2009-05-07").value()), "2009-05-07 00:00:00");
}

TEST(Dates, RefuseWhatIsNoDate) {
    for (const char* text :
         {"", "2009-02-29", "2009-13-01", "2009-05-07T08:00:00", "2009-05-07 24:00:00", "07/05/2009"})
        EXPECT_FALSE(ParseIsoDate(text)) << text;
}

TEST(Dates, CountDayBoundariesNotElapsedHours) {
    EXPECT_EQ(DaysBetween(*ParseIsoDate("2009-05-07 23:59:59"), *ParseIsoDate("2009-05-08 00:00:00")), 1);
    EXPECT_EQ(DaysBetween(*ParseIsoDate("2009-05-09"), *ParseIsoDate("2009-05-07")), -2);
}

TEST(Dates, ConvertToAutomationDatesAndBack) {
    EXPECT_EQ(ToAutomationDate(*ParseIsoDate("1899-12-30 06:00:00")), 0.25);
    EXPECT_EQ(ToAutomationDate(*ParseIsoDate("1899-12-29 06:00:00")), -1.25);
    EXPECT_EQ(FromAutomationDate(-1.25), *ParseIsoDate("1899-12-29 06:00:00"));
    for (const char* text : {"1970-01-01 00:00:01", "2026-11-21 23:59:59", "1850-03-04 05:06:07"})
        EXPECT_EQ(IsoDateTime(FromAutomationDate(ToAutomationDate(*ParseIsoDate(text)))), text);
}

TEST(Dates, TimeOfDayLiesOnTheZeroDay) {
    EXPECT_EQ(IsoDateTime(TimeOfDay(*ParseIsoDate("2026-11-21 14:03:07"))), "1899-12-30 14:03:07");
    EXPECT_EQ(IsoDateTime(TimeOfDay(*ParseIsoDate("1850-11-21 14:03:07"))), "1899-12-30 14:03:07");
}

}  // namespace
}  // namespace iqrx::platform
