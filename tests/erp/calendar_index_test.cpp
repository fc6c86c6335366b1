// Calendars are found again in a file of any order and any length, with memory that does not grow with it.
#include "erp/extract/calendar_index.h"

#include <algorithm>

#include "erp/extract/calendar_manager.h"
#include "erp/extract_fixture.h"

namespace iqrx::erp::extract {
namespace {

using Offsets = std::vector<std::uint64_t>;

std::string Calendar(int number) { return "CAL" + std::to_string(100 + number); }

std::string Interval(const std::string& calendar) {
    return calendar + ",WRK,2009-05-07,800,2009-05-07,1700,9.00,9.00,2009-05-07 07:00:00,2009-05-07 16:00:00\n";
}

class Index : public Extract {
protected:
    // Every calendar once a day; the offsets of the last calendar's rows are kept.
    void WriteByDay(int calendars, int days) {
        std::string text = std::string(kCalendarHeader) + "\n";
        for (int day = 0; day < days; ++day)
            for (int calendar = 0; calendar < calendars; ++calendar) text += Interval(Calendar(calendar));
        Write("calendars.csv", text);
        file = std::make_shared<SourceFile>(directory / "calendars.csv", "test");
    }
    Rows All() const { return {file, CalendarFields()}; }
    // Where a calendar's rows stand: read through the runs, and read from the first row to the last.
    Offsets Found(const CalendarIndex& index, const std::string& calendar) const {
        Rows rows = All();
        rows.Restart(index.Find(calendar));
        return OffsetsOf(std::move(rows), calendar);
    }
    Offsets Expected(const std::string& calendar) const { return OffsetsOf(All(), calendar); }

    std::shared_ptr<SourceFile> file;

private:
    static Offsets OffsetsOf(Rows rows, const std::string& calendar) {
        Offsets offsets;
        while (rows.Next())
            if (rows.Text(kCalendar) == calendar) offsets.push_back(rows.Place().start.offset);
        return offsets;
    }
};

TEST_F(Index, CoversEveryCalendarWhereThereIsRoom) {
    WriteByDay(20, 30);
    const CalendarIndex index(All(), "");
    for (int i = 0; i < 20; ++i) {
        EXPECT_TRUE(index.Covers(Calendar(i)));
        EXPECT_EQ(Found(index, Calendar(i)), Expected(Calendar(i)));
        EXPECT_EQ(index.Find(Calendar(i)).size(), 30U);
    }
    EXPECT_TRUE(index.Find("CAL1001").empty());
}

TEST_F(Index, CoversAsManyCalendarsFromTheFirstOnAsThereIsRoomFor) {
    WriteByDay(50, 30);
    constexpr std::size_t kRoom = 2000;
    int indexes = 0;
    for (int next = 0; next < 50; ++indexes) {
        const CalendarIndex index(All(), Calendar(next), kRoom);
        EXPECT_LE(index.Size(), kRoom);
        EXPECT_TRUE(next == 0 || !index.Covers(Calendar(next - 1)));
        const int first = next;
        for (; next < 50 && index.Covers(Calendar(next)); ++next)
            EXPECT_EQ(Found(index, Calendar(next)), Expected(Calendar(next)));
        ASSERT_GT(next, first);
    }
    EXPECT_GT(indexes, 3);
    EXPECT_LT(indexes, 25);
}

TEST_F(Index, CoversTheFirstCalendarWhateverRoomItTakes) {
    WriteByDay(3, 2000);
    const CalendarIndex index(All(), Calendar(1), 100);
    EXPECT_TRUE(index.Covers(Calendar(1)));
    EXPECT_FALSE(index.Covers(Calendar(2)));
    EXPECT_EQ(Found(index, Calendar(1)), Expected(Calendar(1)));
}

TEST_F(Index, IsMadeAnewForACalendarThatItDoesNotCover) {
    WriteByDay(50, 30);
    CalendarManager manager(directory, 2000);
    std::vector<int> calendars{49, 0, 25};
    for (int i = 0; i < 50; ++i) calendars.push_back(i);
    for (const int calendar : calendars) {
        Value callId = Long{0}, complete = std::string("N");
        const ObjectRef page = Intervals(manager, Calendar(calendar), Calendar(calendar), callId, complete);
        EXPECT_EQ(platform::ToObject(page->Get("getUTCActualCalendarForQRXWrapper"))->Get("sizeActualCalendar"),
                  Value(Long{30}))
            << calendar;
    }
}

// With hundreds of calendars, reading a bad file again for each would take hundreds of times as long.
TEST_F(Index, ThatCouldNotBeMadeIsNotTriedAgainUntilTheServiceIsClosed) {
    const auto complaint = [&](platform::Object& manager, const std::string& calendar) {
        return ErrorOf([&] {
            Value callId = Long{0}, complete = std::string("N");
            Intervals(manager, calendar, calendar, callId, complete);
        });
    };
    Write("calendars.csv", std::string(kCalendarHeader) + "\n" + Interval("A") + "B,WRK\n");
    CalendarManager manager(directory);
    const std::string first = complaint(manager, "A");
    EXPECT_EQ(first,
              PathOf("calendars.csv") + ", line 3, column 'start_date': the row ends before this column");
    Write("calendars.csv", std::string(kCalendarHeader) + "\n" + Interval("A"));
    EXPECT_EQ(complaint(manager, "B"), first);
    Call(manager, "Close");
    EXPECT_EQ(complaint(manager, "A"), "(no error)");
}

TEST_F(Index, NeedsAFewBytesForACalendarWhoseRowsFollowEachOther) {
    std::string text = std::string(kCalendarHeader) + "\n";
    for (const int calendar : {2, 0, 1})
        for (int day = 0; day < 5000; ++day) text += Interval(Calendar(calendar));
    Write("calendars.csv", text);
    file = std::make_shared<SourceFile>(directory / "calendars.csv", "test");
    const CalendarIndex index(All(), "");
    EXPECT_LT(index.Size(), 3 * 500U);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(index.Find(Calendar(i)).size(), 1U);
        EXPECT_EQ(Found(index, Calendar(i)).size(), 5000U);
    }
}

TEST(RunLists, KeepWhatTheyAreGiven) {
    const std::vector<Rows::Run> runs{{{7, 2}, 8},
                                      {{9, 3}, 200},
                                      {{1000, 10}, 100'000},
                                      {{100'001, 10}, 100'002},
                                      {{1'000'000'000'000, 4'000'000'000}, 2'000'000'000'000}};
    RunList list;
    EXPECT_TRUE(list.All().empty());
    for (std::size_t count = 0; count < runs.size(); ++count) {
        list.Add(runs[count]);
        const auto kept = list.All();
        ASSERT_EQ(kept.size(), count + 1);
        for (std::size_t i = 0; i <= count; ++i) {
            EXPECT_EQ(kept[i].start.offset, runs[i].start.offset);
            EXPECT_EQ(kept[i].start.line, runs[i].start.line);
            EXPECT_EQ(kept[i].end, runs[i].end);
        }
    }
}

TEST(RunLists, MakeOneOfRunsThatFollowEachOther) {
    RunList list;
    list.Add({{10, 2}, 20});
    list.Add({{20, 3}, 30});
    list.Add({{31, 5}, 40});
    list.Add({{40, 6}, 50});
    const auto runs = list.All();
    ASSERT_EQ(runs.size(), 2U);
    EXPECT_EQ(runs[0].end, 30U);
    EXPECT_EQ(runs[1].start.line, 5U);
    EXPECT_EQ(runs[1].end, 50U);
}

TEST(RunLists, StayShortHoweverManyTheRunsAreAndHoldThemAll) {
    RunList list;
    constexpr std::uint64_t kRuns = 3 * RunList::kMostRuns + 1;
    for (std::uint64_t i = 1; i <= kRuns; ++i) list.Add({{10 * i, 2 * i}, 10 * i + 5});
    EXPECT_LE(list.Size(), 8 * RunList::kMostRuns);
    const auto runs = list.All();
    EXPECT_LE(runs.size(), RunList::kMostRuns);
    std::size_t run = 0;
    for (std::uint64_t i = 1; i <= kRuns; ++i) {
        while (run < runs.size() && runs[run].end < 10 * i + 5) ++run;
        ASSERT_LT(run, runs.size());
        ASSERT_LE(runs[run].start.offset, 10 * i);
    }
    EXPECT_EQ(runs.back().end, 10 * kRuns + 5);
    for (const auto& joined : runs) ASSERT_EQ(joined.start.line * 5, joined.start.offset);
}

}  // namespace
}  // namespace iqrx::erp::extract
