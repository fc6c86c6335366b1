#include "journal/ledger.h"

#include <algorithm>

#include "journal/journal_fixture.h"

namespace iqrx::journal {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

constexpr const char* kTable = "tsmdm030";
constexpr int kMinute = 60, kHour = 60 * kMinute;

// A machine with its clock, an ERP that stamps its changes by it, and copies of one table.
class LedgerTest : public JournalTest {
protected:
    using Names = std::vector<std::string>;

    void Pass(int seconds) {
        now.secondsSince1970 += seconds;
        host.uptime += std::chrono::seconds(seconds);
    }
    void SetClock(int by) { now.secondsSince1970 += by; }
    void Restart() {
        host.boot += "'";
        host.uptime = std::chrono::seconds(0);
        Pass(kMinute);
    }
    void Change(const std::string& name) { trail.emplace_back(now, name); }

    platform::Date Exported() const { return exported.value_or(now); }
    void CopyInFull() {
        const Begin begin = ledger.BeginAt(now);
        ledger.ReadInFull(kTable, std::min(now, Exported()), begin);
    }
    // The changes that it told the applications.
    Names CopyChanges(std::optional<platform::Date> since = {}) {
        const Begin begin = ledger.BeginAt(now);
        const auto from = since ? since : ledger.NextFrom(kTable, begin);
        const Stretch read{from.value(), std::min(now, Exported())};
        Names told;
        for (const auto& [stamp, name] : trail)
            if (read.from <= stamp && stamp <= read.to) told.push_back(name);
        ledger.ReadTrail(kTable, read, begin);
        return told;
    }
    std::vector<std::string> Gaps() const {
        std::vector<std::string> gaps;
        const TableLedger table = ledger.Of(kTable).value();
        for (const auto& [from, to] : table.gaps)
            gaps.push_back(platform::IsoTime(from) + " - " + platform::IsoTime(to));
        return gaps;
    }
    std::string ReadTo() const { return platform::IsoDateTime(ledger.Of(kTable).value().readTo); }
    std::string NextFrom() const {
        return platform::IsoDateTime(ledger.NextFrom(kTable, ledger.BeginAt(now)).value());
    }

    platform::Date now = At("10:00:00");
    std::optional<platform::Date> exported;  // nothing: the trail is live
    std::vector<std::pair<platform::Date, std::string>> trail;
    StateDirectory state = Open();
    Ledger ledger{state};
};

TEST_F(LedgerTest, KnowsNothingBeforeTheFirstCopy) {
    EXPECT_EQ(ledger.NextFrom(kTable, ledger.BeginAt(now)), std::nullopt);
    EXPECT_EQ(ledger.Of(kTable), std::nullopt);
    EXPECT_FALSE(exists(state.LedgerFile()));
}

TEST_F(LedgerTest, EachChangeIsToldOnceByCopiesThatFollowEachOther) {
    CopyInFull();
    for (const char* name : {"A05", "A15", "A25"}) {
        Pass(5 * kMinute);
        Change(name);
        Pass(5 * kMinute);
        EXPECT_THAT(CopyChanges(), ElementsAre(name));
    }
    Pass(10 * kMinute);
    EXPECT_THAT(CopyChanges(), IsEmpty());
}

TEST_F(LedgerTest, AClockThatWasSetBackLosesNoChangeAndTellsNoneTwice) {
    CopyInFull();
    Pass(5 * kMinute);
    Change("before");
    Pass(5 * kMinute);
    EXPECT_THAT(CopyChanges(), ElementsAre("before"));
    Pass(kMinute);
    SetClock(-kHour);
    Pass(4 * kMinute);
    Change("after");
    Pass(5 * kMinute);
    EXPECT_EQ(NextFrom(), "2026-11-21 09:10:00");
    EXPECT_THAT(CopyChanges(), ElementsAre("after"));
    Pass(10 * kMinute);
    EXPECT_THAT(CopyChanges(), IsEmpty());
}

TEST_F(LedgerTest, AChangeJustBeforeTheClockWasSetBackIsToldToo) {
    CopyInFull();
    Pass(5 * kMinute);
    Change("old clock");
    SetClock(-kHour);
    Pass(kHour);  // the new clock is past the change
    EXPECT_THAT(CopyChanges(), ElementsAre("old clock"));
}

TEST_F(LedgerTest, AClockThatIsSetBackDuringTheCopyLosesNoChange) {
    const Begin begin = ledger.BeginAt(now);
    Pass(10 * kMinute);
    SetClock(-kHour);
    Change("during");
    Pass(10 * kMinute);
    ledger.ReadInFull(kTable, begin.local, begin);
    Pass(10 * kMinute);
    EXPECT_THAT(CopyChanges(), ElementsAre("during"));
}

TEST_F(LedgerTest, AClockThatWasAheadForOneFullCopyLosesNoChange) {
    SetClock(365 * 24 * kHour);
    CopyInFull();
    Pass(kMinute);
    SetClock(-365 * 24 * kHour);
    Pass(4 * kMinute);
    Change("since");
    Pass(5 * kMinute);
    EXPECT_EQ(NextFrom(), "2026-11-21 10:00:00");
    EXPECT_THAT(CopyChanges(), ElementsAre("since"));
    Pass(10 * kMinute);
    EXPECT_THAT(CopyChanges(), IsEmpty());
}

TEST_F(LedgerTest, AClockThatWasSetForwardCostsNothing) {
    CopyInFull();
    Pass(5 * kMinute);
    Change("old clock");
    SetClock(3 * kHour);
    Change("new clock");
    Pass(5 * kMinute);
    EXPECT_EQ(NextFrom(), "2026-11-21 10:00:00");
    EXPECT_THAT(CopyChanges(), ElementsAre("old clock", "new clock"));
    EXPECT_THAT(Gaps(), IsEmpty());
}

TEST_F(LedgerTest, TheHourThatComesTwiceInAutumnLosesNoChange) {
    now = At("2026-10-25 02:50:00");
    CopyInFull();
    Pass(10 * kMinute);
    SetClock(-kHour);
    Pass(5 * kMinute);
    Change("02:05 in winter");
    Pass(5 * kMinute);
    EXPECT_EQ(NextFrom(), "2026-10-25 01:50:00");
    EXPECT_THAT(CopyChanges(), ElementsAre("02:05 in winter"));
    Pass(10 * kMinute);
    EXPECT_THAT(CopyChanges(), IsEmpty());
}

TEST_F(LedgerTest, ALongPauseOverTheHourThatComesTwiceLosesNoChange) {
    now = At("2026-10-25 02:30:00");
    CopyInFull();
    Pass(30 * kMinute);
    SetClock(-kHour);
    Pass(5 * kMinute);
    Change("02:05 in winter");
    Pass(2 * kHour);
    EXPECT_THAT(CopyChanges(), ElementsAre("02:05 in winter"));
}

TEST_F(LedgerTest, TheHourThatIsMissingInSpringCostsNothing) {
    now = At("2026-03-29 01:55:00");
    CopyInFull();
    Pass(5 * kMinute);
    SetClock(kHour);
    Change("03:00 in summer");
    Pass(5 * kMinute);
    EXPECT_EQ(NextFrom(), "2026-03-29 01:55:00");
    EXPECT_THAT(CopyChanges(), ElementsAre("03:00 in summer"));
}

TEST_F(LedgerTest, AfterARestartAClockThatLiesBeforeWhatWasReadReadsADayAgain) {
    CopyInFull();
    SetClock(-kHour);
    Restart();
    Change("after");
    EXPECT_EQ(NextFrom(), "2026-11-20 09:01:00");
    EXPECT_THAT(CopyChanges(), ElementsAre("after"));
}

TEST_F(LedgerTest, AfterARestartAClockThatWentOnReadsOnFromWhereItWas) {
    CopyInFull();
    Restart();
    EXPECT_EQ(NextFrom(), "2026-11-21 10:00:00");
}

// The clock lies after the export and before the copy of it: it was set back all the same.
TEST_F(LedgerTest, AfterARestartAClockThatLiesBeforeTheLastCopyReadsADayAgain) {
    exported = At("01:00:00");
    CopyInFull();
    SetClock(-2 * kHour);
    Restart();
    EXPECT_EQ(NextFrom(), "2026-11-20 08:01:00");
}

TEST_F(LedgerTest, AnUptimeThatCannotBeTrueIsNotReckonedWith) {
    CopyInFull();
    SetClock(-kHour);
    host.uptime = std::chrono::seconds(1);
    EXPECT_EQ(NextFrom(), "2026-11-20 09:00:00");
    host.uptime = std::chrono::hours(50 * 366 * 24);
    EXPECT_EQ(NextFrom(), "2026-11-20 09:00:00");
}

TEST_F(LedgerTest, AMachineThatDoesNotTellItsStartsReadsADayAgain) {
    host.boot = "";
    CopyInFull();
    SetClock(-kHour);
    EXPECT_EQ(NextFrom(), "2026-11-20 09:00:00");
}

TEST_F(LedgerTest, AFullCopyOfAnOlderExtractLeavesTheChangesSinceForTheNextCopy) {
    now = At("01:00:00");
    exported = now;
    Pass(30 * kMinute);
    Change("after the export");
    Pass(kHour);
    CopyInFull();
    EXPECT_EQ(ReadTo(), "2026-11-21 01:00:00");
    exported.reset();
    Pass(10 * kMinute);
    EXPECT_THAT(CopyChanges(), ElementsAre("after the export"));
}

TEST_F(LedgerTest, AnExportThatWasNotRenewedIsReadAsFarAsItGoes) {
    CopyInFull();
    Pass(5 * kMinute);
    exported = now;
    Pass(5 * kMinute);
    Change("after the export");
    EXPECT_THAT(CopyChanges(), IsEmpty());
    EXPECT_EQ(ReadTo(), "2026-11-21 10:05:00");
    Pass(10 * kMinute);
    EXPECT_THAT(CopyChanges(), IsEmpty());
    exported.reset();
    EXPECT_THAT(CopyChanges(), ElementsAre("after the export"));
    EXPECT_THAT(Gaps(), IsEmpty());
}

TEST_F(LedgerTest, AFullCopyOfAnExtractThatIsOlderThanWhatWasReadGoesBackToIt) {
    CopyInFull();
    exported = now;
    Pass(5 * kMinute);
    Change("read before");
    Pass(5 * kMinute);
    CopyChanges(At("10:00:00"));
    ledger.ReadTrail(kTable, {At("10:00:00"), now}, ledger.BeginAt(now));
    EXPECT_EQ(ReadTo(), "2026-11-21 10:10:00");
    CopyInFull();
    EXPECT_EQ(ReadTo(), "2026-11-21 10:00:00");
}

TEST_F(LedgerTest, AMomentInTheFutureIsNeverNoted) {
    exported = At("12:00:00");
    ledger.ReadInFull(kTable, At("12:00:00"), ledger.BeginAt(now));
    EXPECT_EQ(ReadTo(), "2026-11-21 10:00:00");
    ledger.ReadTrail(kTable, {now, At("12:00:00")}, ledger.BeginAt(now));
    EXPECT_EQ(ReadTo(), "2026-11-21 10:00:00");
}

TEST_F(LedgerTest, AWindowThatBeginsLaterLeavesAGap) {
    CopyInFull();
    Pass(5 * kHour);
    CopyChanges(At("13:00:00"));
    EXPECT_THAT(Gaps(), ElementsAre("10:00:00 - 13:00:00"));
    EXPECT_EQ(ReadTo(), "2026-11-21 15:00:00");
}

TEST_F(LedgerTest, AGapClosesWhereItIsReadAndNowhereElse) {
    CopyInFull();
    Pass(5 * kHour);
    CopyChanges(At("13:00:00"));
    const Begin begin = ledger.BeginAt(now);
    ledger.ReadTrail(kTable, {At("11:00:00"), At("11:30:00")}, begin);
    EXPECT_THAT(Gaps(), ElementsAre("10:00:00 - 11:00:00", "11:30:00 - 13:00:00"));
    ledger.ReadTrail(kTable, {At("09:00:00"), At("10:30:00")}, begin);
    EXPECT_THAT(Gaps(), ElementsAre("10:30:00 - 11:00:00", "11:30:00 - 13:00:00"));
    ledger.ReadTrail(kTable, {At("10:30:00"), At("13:00:00")}, begin);
    EXPECT_THAT(Gaps(), IsEmpty());
    EXPECT_EQ(ReadTo(), "2026-11-21 15:00:00");
}

TEST_F(LedgerTest, AFullCopyClosesEveryGap) {
    CopyInFull();
    Pass(5 * kHour);
    CopyChanges(At("13:00:00"));
    CopyInFull();
    EXPECT_THAT(Gaps(), IsEmpty());
}

TEST_F(LedgerTest, GapsThatTouchAreOne) {
    CopyInFull();
    Pass(kHour);
    CopyChanges(At("10:30:00"));
    ledger.ReadTrail(kTable, {At("11:00:00"), At("11:00:00")}, ledger.BeginAt(now));
    Pass(kHour);
    CopyChanges(At("11:30:00"));
    EXPECT_THAT(Gaps(), ElementsAre("10:00:00 - 10:30:00", "11:00:00 - 11:30:00"));
    ledger.ReadTrail(kTable, {At("10:10:00"), At("10:20:00")}, ledger.BeginAt(now));
    EXPECT_THAT(Gaps(), ElementsAre("10:00:00 - 10:10:00", "10:20:00 - 10:30:00", "11:00:00 - 11:30:00"));
}

TEST_F(LedgerTest, AWindowAfterTheExportReadsNothingAndLeavesNoGap) {
    CopyInFull();
    Pass(kHour);
    exported = At("10:10:00");
    CopyChanges(At("10:30:00"));
    EXPECT_THAT(Gaps(), IsEmpty());
    EXPECT_EQ(ReadTo(), "2026-11-21 10:00:00");
}

TEST_F(LedgerTest, WithoutAFullCopyWhatWasReadBeginsWhereTheFirstCopyDid) {
    CopyChanges(At("08:00:00"));
    EXPECT_EQ(ReadTo(), "2026-11-21 10:00:00");
    EXPECT_THAT(Gaps(), IsEmpty());
}

TEST_F(LedgerTest, TablesDoNotTouchEachOther) {
    const Begin begin = ledger.BeginAt(now);
    ledger.ReadInFull("tsmdm030", At("09:00:00"), begin);
    ledger.ReadInFull("tsmdm100", At("08:00:00"), begin);
    EXPECT_EQ(ledger.All().size(), 2U);
    EXPECT_EQ(ledger.NextFrom("tsmdm030", begin), At("09:00:00"));
}

TEST_F(LedgerTest, IsAFileThatTellsEverything) {
    CopyInFull();
    Pass(5 * kHour);
    CopyChanges(At("13:00:00"));
    EXPECT_EQ(Contents("ledger.json"), R"({
 "schema": 1,
 "tables": {
  "tsmdm030": {
   "read_to": "2026-11-21 15:00:00",
   "gaps": [
    {
     "from": "2026-11-21 10:00:00",
     "to": "2026-11-21 13:00:00"
    }
   ],
   "noted": "2026-11-21 15:00:00",
   "uptime": 19000,
   "boot": "boot-1"
  }
 }
}
)");
    EXPECT_EQ(Ledger(state).Of(kTable),
              (TableLedger{At("15:00:00"), {{At("10:00:00"), At("13:00:00")}}, {now, host.uptime}, "boot-1"}));
}

TEST_F(LedgerTest, ThatIsDamagedCountsAsEmptyIsToldAndKeptBeside) {
    for (const char* text : {"{\"schema\":1,\"tables\":{\"tsmdm030\":{\"read_to\":\"2026", "", "[]",
                             "{\"schema\":\"x\"}", "{\"schema\":1,\"tables\":{\"tsmdm030\":{}}}",
                             "{\"schema\":1,\"tables\":{\"tsmdm030\":{\"read_to\":\"never\"}}}"}) {
        Fill("ledger.json", text);
        StateDirectory reopened = Open();
        Ledger damaged(reopened);
        EXPECT_EQ(damaged.NextFrom(kTable, damaged.BeginAt(now)), std::nullopt) << text;
        EXPECT_EQ(reopened.Problem(), PathOf("ledger.json") + ": damaged; it counts as empty");
        EXPECT_EQ(Contents("ledger.json"), text);
        damaged.ReadInFull(kTable, now, damaged.BeginAt(now));
        EXPECT_EQ(Contents("ledger.json.damaged"), text);
        EXPECT_EQ(ledger.Of(kTable)->readTo, now);
    }
}

TEST_F(LedgerTest, OfANewerVersionIsNeverWritten) {
    const std::string newer = R"({"schema":2,"tables":{}})";
    Fill("ledger.json", newer);
    EXPECT_EQ(ledger.NextFrom(kTable, ledger.BeginAt(now)), std::nullopt);
    EXPECT_EQ(state.Problem(),
              "the ledger cannot be read: " + PathOf("ledger.json") + ": made by a newer version");
    CopyInFull();
    EXPECT_EQ(Contents("ledger.json"), newer);
}

TEST_F(LedgerTest, OnAFullDiskStaysAsItWas) {
    CopyInFull();
    Pass(kHour);
    host.diskIsFull = true;
    CopyChanges();
    EXPECT_EQ(ReadTo(), "2026-11-21 10:00:00");
    EXPECT_EQ(state.Problem(),
              "the state directory cannot be written: " + PathOf("ledger.json") + ": No space left on device");
}

}  // namespace
}  // namespace iqrx::journal
