// No change is lost and none is told twice, wherever the machine stands and whatever its clock did: what
// administrators met, one by one.
#include <ctime>
#include <fstream>

#include "scenarios/site.h"

namespace iqrx::testing {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

constexpr long kMinute = 60, kHour = 60 * kMinute;
constexpr const char* kTypesHeader = "cstp,desc,proc,ract,dahe";
constexpr const char* kTrail = "tsmdm030.audit.csv";

struct Zone {
    const char* name;
    long offset;  // seconds east of Greenwich on the day of the scenarios
};
constexpr Zone kNewYork{"America/New_York", -5 * kHour}, kBerlin{"Europe/Berlin", 1 * kHour},
    kTokyo{"Asia/Tokyo", 9 * kHour};

std::string Text(long local) {
    const std::time_t moment = local;
    std::tm civil{};
    gmtime_r(&moment, &civil);
    char text[32];
    return {text, std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &civil)};
}

// A machine with a clock, and an ERP that stamps its changes by it and writes them as they are made.
class AMachine : public Site {
protected:
    AMachine() { PassTo(10, 0); }

    // Of 2026-11-21, by the local clock.
    static long At(int hour, int minute) { return 1'795'219'200 + hour * kHour + minute * kMinute; }
    void PassTo(int hour, int minute) {
        uptime += At(hour, minute) - local;
        local = At(hour, minute);
    }
    // No time goes by.
    void SetClock(long by) { local += by; }

    void GivenMachineIn(const Zone& where) { zone = where; }
    void GivenTypes() {
        for (const char* type : {"ADV", "INS"}) types += Record(type);
        Write("tsmdm030.csv", types);
        Write(kTrail, trail);
    }
    void Enter(const std::string& type) {
        types += Record(type);
        trail += "\n" + Text(local) + ",I" + Record(type).replace(0, 1, ",");
        Write("tsmdm030.csv", types);
        Write(kTrail, trail);
    }
    // As the export of this moment.
    void Write(const std::string& file, const std::string& text) const {
        GivenExtract(file, text);
        SetChanged(file, local);
    }
    void SetChanged(const std::string& file, long moment) const {
        const auto changed = std::chrono::sys_seconds(std::chrono::seconds(moment - zone.offset));
        fs::last_write_time(extract / file, std::chrono::file_clock::from_sys(changed));
    }

    Finished Run(const std::vector<std::string>& arguments) const {
        return Qrxctl(arguments, {{"TZ", zone.name},
                                  {"LD_PRELOAD", std::string(IQRX_SANITIZER_LIBRARY) + " " IQRX_SET_CLOCK},
                                  {"SET_CLOCK_NOW", std::to_string(local - zone.offset)},
                                  {"SET_CLOCK_UPTIME", std::to_string(uptime)}});
    }
    void CopyInFull() const {
        const Finished run = Run({"copy", "tsmdm030", "--full"});
        EXPECT_EQ(run.exitCode, 0) << run.out << run.err;
        EXPECT_EQ(LastUpdate("tsmdm030"), Text(local)) << "the clock is not where the scenario wants it";
    }
    // What the run inserted and updated, with the rows that the table then has.
    long Told() const {
        const Finished run = Run({"copy", "tsmdm030", "--incremental", "--json"});
        EXPECT_EQ(run.exitCode, 0) << run.out << run.err;
        return CopiedBy(run);
    }
    long CopiedBy(const Finished& run) const {
        const std::string line = Lines(run.out).at(0);
        return std::stol(JsonCell("SELECT json_extract('" + line + "', '$.copied')"));
    }
    std::vector<std::string> Types() const { return Rows("SELECT cstp FROM tsmdm030 ORDER BY cstp"); }

    Zone zone = kNewYork;
    long local = At(9, 0), uptime = 100 * kHour;
    std::string types = kTypesHeader, trail = std::string("changed_at,change,") + kTypesHeader;

private:
    static std::string Record(const std::string& type) { return "\n" + type + ",Type,REMOTE,ONC,1"; }
};

// A2: west of Greenwich the control table's last update lies hours ahead of the trail.
TEST_F(AMachine, WestOfGreenwichReceivesEachChangeWithTheNextRunAndOnce) {
    GivenMachineIn(kNewYork);
    GivenTypes();
    CopyInFull();
    for (const auto& [minute, type] : {std::pair{5, "T05"}, {15, "T15"}, {25, "T25"}}) {
        PassTo(10, minute);
        Enter(type);
        PassTo(10, minute + 5);
        EXPECT_EQ(Told(), 1) << type;
        EXPECT_THAT(Types(), ::testing::Contains(type));
        EXPECT_GT(LastUpdate("tsmdm030"), "2026-11-21 15:00:00");
    }
    PassTo(10, 40);
    EXPECT_EQ(Told(), 0);
    EXPECT_THAT(Types(), ElementsAre("ADV", "INS", "T05", "T15", "T25"));
}

// A2: the clock is set back.
TEST_F(AMachine, WhoseClockIsSetBackLosesNoChangeAndTellsNoneTwice) {
    GivenTypes();
    CopyInFull();
    PassTo(10, 5);
    Enter("BEFORE");
    PassTo(10, 10);
    EXPECT_EQ(Told(), 1);
    SetClock(-kHour);
    PassTo(9, 15);
    Enter("AFTER");
    PassTo(9, 20);
    EXPECT_EQ(Told(), 1);
    EXPECT_THAT(Types(), ElementsAre("ADV", "AFTER", "BEFORE", "INS"));
    PassTo(9, 50);
    EXPECT_EQ(Told(), 0);
}

TEST_F(AMachine, ReadsTheHourThatComesTwiceBothTimes) {
    GivenTypes();
    CopyInFull();
    PassTo(10, 40);
    EXPECT_EQ(Told(), 0);
    SetClock(-kHour);
    PassTo(10, 5);
    Enter("AGAIN");
    PassTo(10, 50);
    EXPECT_EQ(Told(), 1);
    EXPECT_THAT(Types(), ElementsAre("ADV", "AGAIN", "INS"));
}

// A2: the clock was a year ahead for one full copy.
TEST_F(AMachine, WhoseClockWasAheadForOneFullCopyLosesNoChange) {
    GivenTypes();
    SetClock(365 * 24 * kHour);
    CopyInFull();
    EXPECT_EQ(LastUpdate("tsmdm030").substr(0, 4), "2027");
    SetClock(-365 * 24 * kHour);
    PassTo(10, 5);
    Enter("T05");
    PassTo(10, 10);
    EXPECT_EQ(Told(), 1);
    PassTo(10, 15);
    Enter("T15");
    PassTo(10, 20);
    EXPECT_EQ(Told(), 1);
    EXPECT_THAT(Types(), ElementsAre("ADV", "INS", "T05", "T15"));
}

// A2: the trail is missing during one run.
TEST_F(AMachine, WhoseTrailIsMissingDuringOneRunFailsThenAndReadsItWithTheNext) {
    GivenTypes();
    CopyInFull();
    PassTo(10, 5);
    Enter("T05");
    fs::rename(extract / kTrail, extract / "rotated");
    PassTo(10, 10);
    const std::string before = LastUpdate("tsmdm030");

    const Finished without = Run({"copy", "tsmdm030", "--incremental"});

    EXPECT_EQ(without.exitCode, 1);
    EXPECT_THAT(without.out, HasSubstr(kTrail));
    EXPECT_EQ(LastUpdate("tsmdm030"), before);
    EXPECT_FALSE(InUse("tsmdm030"));
    fs::rename(extract / "rotated", extract / kTrail);
    PassTo(10, 20);
    EXPECT_EQ(Told(), 1);
    EXPECT_THAT(Types(), ElementsAre("ADV", "INS", "T05"));
}

// A2: a typo of a year.
TEST_F(AMachine, RefusesToReadFromAMomentInTheFuture) {
    GivenTypes();
    CopyInFull();
    PassTo(10, 5);
    Enter("T05");
    PassTo(10, 10);
    const std::string before = LastUpdate("tsmdm030");

    const Finished run = Run({"copy", "tsmdm030", "--incremental", "--since", "2099-01-01"});

    EXPECT_EQ(run.exitCode, 64);
    EXPECT_THAT(run.err, IsOneLineWith("--since 2099-01-01 lies in the future"));
    EXPECT_EQ(LastUpdate("tsmdm030"), before);
    EXPECT_EQ(Run({"copy", "tsmdm030", "-i", "--since", "2026-11-21 10:10:01"}).exitCode, 64);
    EXPECT_EQ(Told(), 1);
}

// The service copied until then, or the books were lost.
TEST_F(AMachine, LosesNothingWestOfGreenwichWithoutALedger) {
    GivenMachineIn(kNewYork);
    GivenTypes();
    CopyInFull();
    PassTo(10, 10);
    Told();
    fs::remove(State() / "ledger.json");
    for (const auto& [minute, type] : {std::pair{15, "T15"}, {25, "T25"}}) {
        PassTo(10, minute);
        Enter(type);
        PassTo(10, minute + 5);
        Told();
    }
    EXPECT_THAT(Types(), ElementsAre("ADV", "INS", "T15", "T25"));
}

TEST_F(AMachine, PutsTheLastUpdateBackWhenARunWithAnotherBeginFails) {
    GivenTypes();
    CopyInFull();
    PassTo(10, 5);
    Enter("T05");
    fs::rename(extract / kTrail, extract / "rotated");
    PassTo(10, 10);
    const std::string before = LastUpdate("tsmdm030");

    EXPECT_EQ(Run({"copy", "tsmdm030", "--incremental", "--since", "2026-11-21 10:08:00"}).exitCode, 1);

    EXPECT_EQ(LastUpdate("tsmdm030"), before);
    fs::rename(extract / "rotated", extract / kTrail);
    EXPECT_EQ(Told(), 1);
    EXPECT_THAT(Types(), ElementsAre("ADV", "INS", "T05"));
}

// A2: written at 01:00, changed at 01:30, copied at 02:30.
TEST_F(AMachine, WhoseExtractIsOlderThanTheFullCopyReadsTheChangesBetweenThem) {
    PassTo(1, 0);
    GivenTypes();
    PassTo(1, 30);
    const std::string records = types;
    Enter("T0130");
    GivenExtract("tsmdm030.csv", records);
    SetChanged("tsmdm030.csv", At(1, 0));
    PassTo(2, 30);
    CopyInFull();
    EXPECT_THAT(Types(), ElementsAre("ADV", "INS"));
    PassTo(2, 40);
    EXPECT_EQ(Told(), 1);
    EXPECT_THAT(Types(), ElementsAre("ADV", "INS", "T0130"));
}

TEST_F(AMachine, TakesTheWordOfTheExtractForItsMomentBeforeTheFilesOwn) {
    PassTo(1, 0);
    GivenTypes();
    GivenExtract("EXPORTED", Text(At(1, 0)));
    PassTo(2, 29);  // the files come over the network
    for (const char* file : {"tsmdm030.csv", kTrail}) SetChanged(file, local);
    PassTo(2, 30);
    CopyInFull();
    local = At(1, 30);
    Enter("T0130");
    local = At(2, 35);
    GivenExtract("EXPORTED", Text(local));
    PassTo(2, 40);
    EXPECT_EQ(Told(), 1);
    EXPECT_THAT(Types(), ElementsAre("ADV", "INS", "T0130"));
}

// The machine's own way to leave something out, and to make up for it.
TEST_F(AMachine, ShowsTheGapThatALaterBeginLeavesAndFillsIt) {
    GivenTypes();
    CopyInFull();
    PassTo(10, 5);
    Enter("T05");
    PassTo(10, 25);
    Enter("T25");
    PassTo(10, 30);
    EXPECT_EQ(Run({"copy", "tsmdm030", "--incremental", "--since", "2026-11-21 10:20:00"}).exitCode, 0);
    EXPECT_THAT(Types(), ElementsAre("ADV", "INS", "T25"));

    const Finished gap = Run({"status", "tsmdm030", "--read"});
    EXPECT_EQ(gap.exitCode, 5);
    EXPECT_THAT(gap.out, AllOf(HasSubstr("GAP   2026-11-21 10:00 - 2026-11-21 10:20   20 m\n"),
                               HasSubstr("-> qrxctl copy tsmdm030 --fill-gaps\n")));
    PassTo(10, 40);
    EXPECT_EQ(Told(), 0);  // the gap is not filled unasked
    EXPECT_THAT(Types(), Not(::testing::Contains("T05")));

    PassTo(10, 50);
    EXPECT_THAT(Run({"copy", "tsmdm030", "--fill-gaps", "--dry-run"}).out,
                HasSubstr("copy changes since 2026-11-21 10:00:00"));
    EXPECT_EQ(Run({"copy", "tsmdm030", "--fill-gaps"}).exitCode, 0);

    EXPECT_THAT(Types(), ElementsAre("ADV", "INS", "T05", "T25"));
    const Finished filled = Run({"status", "tsmdm030", "--read"});
    EXPECT_EQ(filled.exitCode, 0) << filled.out;
    EXPECT_THAT(filled.out, Not(HasSubstr("GAP")));
}

// What was done with one aim is not done for another.
TEST_F(AMachine, ResumesOnlyARunThatReadTheSameStretchOfTheTrail) {
    GivenTypes();
    CopyInFull();
    const auto wouldCopy = [this](std::vector<std::string> aim) {
        aim.insert(aim.begin(), {"copy", "tsmdm030"});
        aim.insert(aim.end(), {"--resume", "--dry-run"});
        return Run(aim).out != "";
    };
    EXPECT_FALSE(wouldCopy({"--full"}));
    EXPECT_EQ(Run({"copy", "tsmdm030", "--incremental", "--max-removed", "any"}).exitCode, 0);
    EXPECT_FALSE(wouldCopy({"--incremental"}));
    EXPECT_TRUE(wouldCopy({"--fill-gaps"}));
    EXPECT_TRUE(wouldCopy({"--incremental", "--since", "2026-11-21 09:00:00"}));
}

// A7: an application that deletes from the change log what it has read.
class AnApplication : public AMachine {
protected:
    static constexpr const char* kOrder = "SO0000040";

    void GivenOrdersIn(const Zone& where) {
        GivenMachineIn(where);
        for (const char* file : {"tssoc200.csv", "tssoc200.audit.csv"}) {
            fs::copy_file(Sample() / file, extract / file);
            SetChanged(file, At(9, 0));
        }
        EXPECT_EQ(Run({"copy", "tssoc200", "--full"}).exitCode, 0);
        EXPECT_EQ(LastUpdate("tssoc200"), Text(local));
        Execute("DELETE FROM tssoc200_audit");
    }
    // As the sample's own change of the order, at this moment.
    void ChangeOrder() const {
        for (const std::string& line : Lines(ReadText(Sample() / "tssoc200.audit.csv")))
            if (line.find(std::string(",U,") + kOrder) != std::string::npos) {
                std::ofstream(extract / "tssoc200.audit.csv", std::ios::app)
                    << Text(local) << line.substr(line.find(',')) << '\n';
                break;
            }
        SetChanged("tssoc200.audit.csv", local);
    }
    std::vector<std::string> Receive() const {
        const Finished run = Run({"copy", "tssoc200", "--incremental"});
        EXPECT_EQ(run.exitCode, 0) << run.out;
        auto notices = Rows("SELECT orno, action FROM tssoc200_audit");
        Execute("DELETE FROM tssoc200_audit");
        return notices;
    }
    void ExpectOneNoticeIn(const Zone& where) {
        GivenOrdersIn(where);
        PassTo(10, 5);
        ChangeOrder();
        PassTo(10, 10);
        EXPECT_THAT(Receive(), ElementsAre(std::string(kOrder) + "|U"));
        for (int minute = 20; minute <= 70; minute += 10) {
            PassTo(10, minute);
            EXPECT_THAT(Receive(), IsEmpty()) << "at " << Text(local);
        }
    }
};

TEST_F(AnApplication, InBerlinIsToldOfOneChangeOnce) { ExpectOneNoticeIn(kBerlin); }

TEST_F(AnApplication, InTokyoIsToldOfOneChangeOnce) { ExpectOneNoticeIn(kTokyo); }

TEST_F(AnApplication, IsToldOnceOfEachOfTwoChangesThatFollowEachOther) {
    GivenOrdersIn(kBerlin);
    for (const int minute : {5, 15}) {
        PassTo(10, minute);
        ChangeOrder();
        PassTo(10, minute + 5);
        EXPECT_THAT(Receive(), SizeIs(1));
        PassTo(10, minute + 8);
        EXPECT_THAT(Receive(), IsEmpty());
    }
}

}  // namespace
}  // namespace iqrx::testing
