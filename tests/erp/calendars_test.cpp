#include "erp/extract_fixture.h"

namespace iqrx::erp::extract {
namespace {

using Texts = std::vector<std::string>;

const std::string kHeader = std::string(kCalendarHeader) + "\n";

std::string Interval(const std::string& calendar, const std::string& date, const std::string& mark,
                     const std::string& type = "WRK") {
    return calendar + "," + type + "," + date + ",800," + date + ",1700," + mark + ",9.00," + date +
           " 07:00:00," + date + " 16:00:00\n";
}

class Calendars : public Extract {
protected:
    Calendars() : manager(erp->CreateObject("Calendars.CalendarManager")) {
        Value runParameter = std::string("extract=x");
        Call(*manager, "Initialize", ByRef{runParameter});
    }

    ObjectRef List(const std::string& from, const std::string& to, Value& callId, Value& complete) {
        Value pageSize = Long{750};
        return platform::ToObject(Call(
            *manager, "ListUTCActualCalendarForQRX", from, to, std::string(), lastType, firstDate, lastDate,
            platform::Integer{0}, platform::Integer{2400}, ByRef{pageSize}, ByRef{callId}, ByRef{complete}));
    }

    // The marks of all the intervals of a listing; the sizes of its pages in `sizes`.
    Texts Marks(const std::string& from, const std::string& to) {
        Texts marks;
        sizes.clear();
        Value callId = Long{0}, complete = std::string("N");
        for (;;) {
            const ObjectRef page = List(from, to, callId, complete);
            const ObjectRef wrapper = platform::ToObject(page->Get("getUTCActualCalendarForQRXWrapper"));
            const auto size =
                static_cast<platform::Integer>(platform::ToLong(wrapper->Get("sizeActualCalendar")));
            sizes.push_back(size);
            for (platform::Integer i = 0; i < size; ++i) {
                Value index = i;
                const ObjectRef record =
                    platform::ToObject(Call(*wrapper, "getActualCalendarAt", ByRef{index}));
                marks.push_back(TextOf(record->Get("getCumulativeTime")));
            }
            if (page->Get("getSetComplete") == Value(std::string("Y"))) return marks;
            callId = page->Get("getCallId");
            complete = page->Get("getSetComplete");
        }
    }
    Texts Marks(const std::string& calendar) { return Marks(calendar, calendar); }

    ObjectRef manager;
    std::string lastType = Highest(6), firstDate = "2000-01-01", lastDate = "2038-02-29";
    std::vector<int> sizes;
};

TEST_F(Calendars, HandOutTheColumnsOfAnInterval) {
    Write("calendars.csv",
          kHeader + "001,WRK,2009-05-07,800,2009-05-07,2400,16.00,9.00,2009-05-07 07:00:00,\n");
    Value callId = Long{0}, complete = std::string("N");
    const ObjectRef page = List("001", "001", callId, complete);
    Value index = platform::Integer{0};
    const ObjectRef record =
        platform::ToObject(Call(*platform::ToObject(page->Get("getUTCActualCalendarForQRXWrapper")),
                                "getActualCalendarAt", ByRef{index}));
    EXPECT_EQ(record->Get("getCalendar"), Value(std::string("001")));
    EXPECT_EQ(record->Get("getAvailabilityType"), Value(std::string("WRK")));
    EXPECT_EQ(record->Get("getStartDate"), Value(std::string("2009-05-07")));
    EXPECT_EQ(record->Get("getEndDate"), Value(std::string("2009-05-07")));
    EXPECT_EQ(record->Get("getStartTime"), Value(Long{800}));
    EXPECT_EQ(record->Get("getEndTime"), Value(Long{2400}));
    EXPECT_EQ(record->Get("getCumulativeTime"), Value(std::string("16.00")));
    EXPECT_EQ(record->Get("getCumulativeCapacity"), Value(std::string("9.00")));
    EXPECT_EQ(record->Get("getStartutcdate"), Value(At("2009-05-07 07:00:00")));
    EXPECT_EQ(record->Get("getEndutcdate"), Value(platform::Null()));
    EXPECT_EQ(complete, Value(std::string("Y")));
}

TEST_F(Calendars, ComeInPagesOfTheRequestedSize) {
    const std::pair<int, std::vector<int>> cases[] = {
        {1, {1}}, {749, {749}}, {750, {750}}, {751, {750, 1}}, {2250, {750, 750, 750}}};
    std::string text = kHeader;
    for (const auto& [count, pages] : cases)
        for (int i = 0; i < count; ++i)
            text += Interval("C" + std::to_string(count), "2009-05-07", std::to_string(i));
    Write("calendars.csv", text);
    for (const auto& [count, pages] : cases) {
        Texts expected;
        for (int i = 0; i < count; ++i) expected.push_back(std::to_string(i));
        EXPECT_EQ(Marks("C" + std::to_string(count)), expected);
        EXPECT_EQ(sizes, pages) << count;
    }
}

TEST_F(Calendars, ThatNoRowNamesAreAnEmptyPageThatSaysY) {
    for (const std::string& file : {kHeader, kHeader + Interval("002", "2009-05-07", "x")}) {
        Write("calendars.csv", file);
        manager = erp->CreateObject("Calendars.CalendarManager");
        for (const std::string calendar : {"000", "001", "003"}) {
            EXPECT_EQ(Marks(calendar), Texts());
            EXPECT_EQ(sizes, (std::vector<int>{0}));
        }
    }
}

TEST_F(Calendars, AreRefusedAfterTheLastPageOfTheirListing) {
    Write("calendars.csv", kHeader + Interval("A", "2009-05-07", "1") + Interval("A", "2009-05-08", "2"));
    Value callId = Long{0}, complete = std::string("N");
    Intervals(*manager, "A", "A", callId, complete, 1);
    EXPECT_EQ(complete, Value(std::string("N")));
    Intervals(*manager, "A", "A", callId, complete, 1);
    EXPECT_EQ(complete, Value(std::string("Y")));
    EXPECT_EQ(ErrorOf([&] { Intervals(*manager, "A", "A", callId, complete, 1); }),
              "No listing is open under call id 1");
}

TEST_F(Calendars, EndTheirOpenListingsWithTheManagersUse) {
    std::string rows;
    for (int i = 0; i < 751; ++i) rows += Interval("C1", "2025-06-20", "1");
    Write("calendars.csv", kHeader + rows);
    Value callId = Long{0}, complete = std::string("N");
    const ObjectRef page = List("C1", "C1", callId, complete);
    callId = page->Get("getCallId");
    complete = page->Get("getSetComplete");
    ASSERT_EQ(complete, Value(std::string("N"))) << "another page is to come";
    Call(*manager, "Close");
    EXPECT_EQ(ErrorOf([&] { List("C1", "C1", callId, complete); }), "No listing is open under call id 1");
}

TEST_F(Calendars, KeepTheFilesOrderHoweverTheyAreMixed) {
    Write("calendars.csv", kHeader + Interval("B", "2009-05-07", "1") + Interval("A", "2009-05-07", "2") +
                               Interval("B", "2009-05-06", "3") + Interval("B", "2009-05-05", "4") +
                               Interval("C", "2009-05-07", "5") + Interval("A", "2009-05-07", "6"));
    EXPECT_EQ(Marks("B"), (Texts{"1", "3", "4"}));
    EXPECT_EQ(Marks("A"), (Texts{"2", "6"}));
    EXPECT_EQ(Marks("A", "B"), (Texts{"1", "2", "3", "4", "6"}));
    EXPECT_EQ(Marks("", Highest(9)), (Texts{"1", "2", "3", "4", "5", "6"}));
}

TEST_F(Calendars, AreFoundAgainFarApartWithQuotedCellsBetween) {
    std::string text = kHeader;
    Texts expected;
    for (int i = 0; i < 200; ++i) {
        text += Interval("A", "2009-05-07", "\"a\"\"" + std::to_string(i) + "\n\"");
        expected.push_back("a\"" + std::to_string(i) + "\n");
        text += Interval("B", "2009-05-07", "\"" + std::string(static_cast<std::size_t>(i * 37), '\n') + "\"");
    }
    Write("calendars.csv", text);
    EXPECT_EQ(Marks("A"), expected);
    EXPECT_EQ(Marks("A"), expected);
}

TEST_F(Calendars, AreNarrowedByDateWindowAndAvailabilityTypeWithBothEndsIncluded) {
    Write("calendars.csv", kHeader + Interval("A", "2009-05-06", "1") + Interval("A", "2009-05-07", "2", "ABC") +
                               Interval("A", "2009-05-08", "3", "ABD") + Interval("A", "2009-05-09", "4") +
                               Interval("A", "2009-05-10", "5"));
    firstDate = "2009-05-07";
    lastDate = "2009-05-09";
    EXPECT_EQ(Marks("A"), (Texts{"2", "3", "4"}));
    lastType = "ABC";
    EXPECT_EQ(Marks("A"), (Texts{"2"}));
}

// Days are counted up to it.
TEST_F(Calendars, WithoutATrueEndDateAreRefused) {
    for (const char* end : {"20090507", "", "2009-05-32"}) {
        Write("calendars.csv", kHeader + "A,WRK,2009-05-07,800," + end +
                                   ",1700,1,9.00,2009-05-07 07:00:00,2009-05-07 16:00:00\n");
        manager->Invoke("Close", {});
        EXPECT_EQ(ErrorOf([&] { Marks("A"); }), (directory / "calendars.csv").string() +
                                                    ", line 2, column 'end_date': '" + end +
                                                    "' is not a date YYYY-MM-DD");
    }
}

TEST_F(Calendars, ThatAreMalformedNameFileLineAndColumn) {
    Write("calendars.csv", kHeader + Interval("A", "2009-05-07", "\"1\n\"") + Interval("B", "7.5.2009", "2"));
    EXPECT_EQ(Marks("A"), (Texts{"1\n"}));
    const std::string complaint = ErrorOf([&] { Marks("B"); });
    EXPECT_EQ(complaint, (directory / "calendars.csv").string() +
                             ", line 4, column 'start_date': '7.5.2009' is not a date YYYY-MM-DD");
    EXPECT_EQ(Marks("A"), (Texts{"1\n"}));
}

}  // namespace
}  // namespace iqrx::erp::extract
