// The state directory in every bad shape: one line that names place and cause, and a copy that is not harmed.
#include <fstream>
#include <ostream>

#include "scenarios/books.h"

namespace iqrx::testing {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

enum class Program { Tool, Service };
void PrintTo(Program program, std::ostream* out) { *out << (program == Program::Tool ? "tool" : "service"); }
constexpr long kHour = 3600;

class AStateDirectory : public SiteWithBooks, public ::testing::WithParamInterface<Program> {
protected:
    AStateDirectory() { GivenExtract("tsmdm030.csv", kServiceTypes); }

    Finished Copy(const Environment& environment = {}) const {
        if (GetParam() == Program::Service) return Service(FullCopy(), environment);
        return Qrxctl({"copy", "tsmdm030", "--full", "-q"}, environment);
    }

    // In a site that lets everybody write.
    Finished CopyAsNobody() const {
        for (const fs::path& place : {directory, extract, logs}) Everybody(place);
        if (GetParam() == Program::Service) return RunAsNobody(IQRX_SERVICE, {FullCopy().Text()});
        return RunAsNobody(IQRX_QRXCTL, {"--connection", Connection(), "--erp", "extract=" + extract.string(),
                                         "--log-dir", logs.string(), "copy", "tsmdm030", "--full", "-q"});
    }

    void ExpectToldInOneLine(const Finished& run, const std::string& problem) const {
        const std::string line = Unwrapped(run.err);
        EXPECT_THAT(line, HasSubstr(problem));
        EXPECT_EQ(line.find("the state directory"), line.rfind("the state directory")) << line;
    }
    void ExpectUnharmed(const Finished& run) const {
        EXPECT_EQ(run.exitCode, 0) << run.out << run.err;
        EXPECT_THAT(Rows(kSelectServiceTypes),
                    ElementsAre("ADV|Advice by telephone|REMOTE|ONC|1|0", "INS|Inspection|INSPECT|WRK|0|0",
                                "REP|Owner's repair|REPAIR|ONC|1|0"));
        EXPECT_FALSE(InUse("tsmdm030"));
    }
    std::string StateText() const { return State().string(); }

private:
    static void Everybody(const fs::path& place) {
        fs::permissions(place, fs::perms(0777));
        for (const auto& entry : fs::directory_iterator(place))
            if (entry.is_regular_file()) fs::permissions(entry.path(), fs::perms(0777));
    }
};

TEST_P(AStateDirectory, ThatIsAFileIsToldAndLeftAsItIs) {
    fs::remove_all(State());
    GivenFile(State(), "notes of mine");

    const Finished run = Copy();

    ExpectToldInOneLine(run, "the state directory cannot be used: " + StateText() + ": it is not a directory");
    ExpectUnharmed(run);
    EXPECT_EQ(ReadText(State()), "notes of mine\n");
}

TEST_P(AStateDirectory, ThatMayNotBeWrittenIsTold) {
    fs::create_directories(State());
    fs::permissions(State(), fs::perms(0555));

    const Finished run = CopyAsNobody();

    ExpectToldInOneLine(run, "the state directory cannot be written: " + StateText());
    EXPECT_THAT(Unwrapped(run.err), HasSubstr("Permission denied"));
    ExpectUnharmed(run);
    EXPECT_FALSE(fs::exists(State() / "history.jsonl"));
    fs::permissions(State(), fs::perms(0755));
}

TEST_P(AStateDirectory, OnAFullDiskIsTold) {
    const Finished run = Copy({{"LD_PRELOAD", std::string(IQRX_SANITIZER_LIBRARY) + " " IQRX_IO_FAULTS},
                               {"IO_FAULTS_BELOW", StateText()},
                               {"IO_FAULTS_KIND", "write"},
                               {"IO_FAULTS_ERROR", "ENOSPC"},
                               {"IO_FAULTS_STAY", "1"},
                               {"IO_FAULTS_AT", "1"}});

    ExpectToldInOneLine(run, "the state directory cannot be written: " + StateText());
    EXPECT_THAT(Unwrapped(run.err), HasSubstr("No space left on device"));
    ExpectUnharmed(run);
}

TEST_P(AStateDirectory, OfANewerVersionIsToldAndNotTouched) {
    fs::remove_all(State());
    fs::create_directories(State());
    GivenFile(State() / "VERSION", "2");

    const Finished run = Copy();

    ExpectToldInOneLine(run, StateText() + "/VERSION: made by a newer version (2; this program knows 1)");
    ExpectUnharmed(run);
    EXPECT_EQ(std::distance(fs::directory_iterator(State()), {}), 1);
}

TEST_P(AStateDirectory, WhoseHistoryWasCutInALineGoesOnWithTheNextRun) {
    GivenRuns({{.run = "20261120-023000", .secondsAgo = 24 * kHour}});
    std::ofstream(State() / "history.jsonl", std::ios::app) << R"({"schema":1,"run":"20261121-0230)";

    const Finished run = Copy();
    const Finished history = Qrxctl({"history", "tsmdm030"});

    EXPECT_THAT(run.err, IsEmpty());
    ExpectUnharmed(run);
    EXPECT_EQ(history.exitCode, 0);
    EXPECT_THAT(history.out, HasSubstr("20261120-023000"));
    EXPECT_THAT(Lines(ReadText(State() / "history.jsonl")), SizeIs(3));
    EXPECT_THAT(Unwrapped(history.out + history.err), HasSubstr("line 2"));
}

TEST_P(AStateDirectory, WithAClockThatJumpsDuringTheRunStaysInOrder) {
    const long now = std::time(nullptr);
    for (const long jump : {-kHour, kHour}) {
        const Finished run = Copy({{"LD_PRELOAD", std::string(IQRX_SANITIZER_LIBRARY) + " " IQRX_SET_CLOCK},
                                   {"SET_CLOCK_NOW", std::to_string(now)},
                                   {"SET_CLOCK_UPTIME", "864000"},
                                   {"SET_CLOCK_JUMP", std::to_string(jump)},
                                   {"SET_CLOCK_JUMP_FILE", (State() / "running" / "tsmdm030").string()}});
        EXPECT_THAT(run.err, IsEmpty());
        ExpectUnharmed(run);
    }
    const std::string history = ReadText(State() / "history.jsonl");
    EXPECT_THAT(Lines(history), SizeIs(2));
    EXPECT_THAT(history, AllOf(Not(HasSubstr("\"seconds\":-")), Not(HasSubstr("\"seconds\":3"))));
}

TEST_P(AStateDirectory, WithTheSheetOfAnotherHostProvesNothing) {
    GivenSheet("tsmdm030", "SCHED2", 180);

    const Finished free = Copy();
    ExpectUnharmed(free);
    EXPECT_THAT(free.err, IsEmpty());

    GivenSheet("tsmdm030", "SCHED2", 180);
    Lock("tsmdm030");
    const Finished locked = Copy();
    EXPECT_EQ(locked.exitCode, 2) << locked.err;
    EXPECT_TRUE(InUse("tsmdm030"));
    EXPECT_THAT(ReadText(State() / "running" / "tsmdm030"), HasSubstr("SCHED2"));
}

INSTANTIATE_TEST_SUITE_P(Programs, AStateDirectory, ::testing::Values(Program::Tool, Program::Service),
                         [](const auto& test) {
                             return test.param == Program::Tool ? "OfTheTool" : "OfTheService";
                         });

class ALedger : public SiteWithBooks {
protected:
    ALedger() {
        GivenExtract("tsmdm030.csv", kServiceTypes);
        GivenExtract("tsmdm030.audit.csv", kServiceTypeChanges);
    }
};

TEST_F(ALedger, ThatWasCutIsToldKeptBesideAndBegunAnew) {
    Qrxctl({"copy", "tsmdm030", "--full"});
    const std::string whole = ReadText(State() / "ledger.json");
    GivenFile(State() / "ledger.json", whole.substr(0, whole.size() / 2));

    // From before the export, whatever the second in which the full copy ended: there is something to note.
    const std::vector<std::string> copy{"copy", "tsmdm030", "--incremental", "--since", "2025-06-20 00:00:00",
                                        "-q"};
    const Finished run = Qrxctl(copy);
    const Finished next = Qrxctl(copy);

    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_THAT(Unwrapped(run.err), HasSubstr((State() / "ledger.json").string()));
    EXPECT_EQ(ReadText(State() / "ledger.json.damaged"), whole.substr(0, whole.size() / 2) + "\n");
    EXPECT_EQ(next.exitCode, 0) << next.err;
    EXPECT_THAT(next.err, IsEmpty());
}

}  // namespace
}  // namespace iqrx::testing
