// A table that stays locked after its copy: who had it is told, that it is gone is proved, and it is released.
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include "scenarios/books.h"
#include "scenarios/terminal.h"

namespace iqrx::testing {
namespace {

using ::testing::AllOf;
using ::testing::ContainsRegex;
using ::testing::HasSubstr;
using ::testing::SizeIs;

class ALockedTable : public SiteWithBooks {
protected:
    ALockedTable() {
        GivenExtract("tsmdm030.csv", kServiceTypes);
        Qrxctl({"copy", "tsmdm030", "--full"});
        Execute("UPDATE tsmdm030 SET upd_flag = 1 WHERE cstp <> 'ADV'");
        Lock("tsmdm030");
    }

    // The run sheet that a process has left. No process has a number as high as this one.
    void GivenSheet(const std::string& table, const std::string& host) const {
        fs::create_directories(Sheet(table).parent_path());
        GivenFile(Sheet(table), "{\"schema\":1,\"table\":\"" + table +
                                    "\",\"run\":\"20261121-103619\",\"program\":\"qrxctl copy --all --full\","
                                    "\"method\":\"full\",\"since\":\"2026-11-21T10:36:19+01:00\","
                                    "\"pid\":99999999,\"user\":\"root\",\"host\":\"" +
                                    host + "\",\"terminal\":\"tty1\"}");
    }
    fs::path Sheet(const std::string& table) const { return State() / "running" / table; }

    std::vector<std::string> AtTheTerminal(const std::vector<std::string>& arguments) const {
        std::vector<std::string> command{IQRX_QRXCTL, "--connection", Connection(),
                                         "--log-dir", logs.string(),  "unlock"};
        command.insert(command.end(), arguments.begin(), arguments.end());
        return command;
    }
};

TEST_F(ALockedTable, ShowsWhoHeldItAndThatItIsGoneAndIsReleasedWhenTheOperatorSaysYes) {  // A3
    GivenSheet("tsmdm030", ThisHost());

    Terminal terminal(AtTheTerminal({"tsmdm030"}), directory);
    ASSERT_TRUE(terminal.Shows("Release it? [y/N]")) << terminal.Screen();
    EXPECT_TRUE(InUse("tsmdm030"));
    terminal.Type("y");

    EXPECT_EQ(terminal.Wait(), 0);
    EXPECT_THAT(terminal.Screen(),
                AllOf(HasSubstr("tsmdm030  locked since 2026-11-21 10:36:19 ("),
                      HasSubstr("by        qrxctl copy --all --full, pid 99999999, user root, on this machine"),
                      HasSubstr("proof     no process holds the run sheet; pid 99999999 is gone"),
                      HasSubstr("left      2 of 3 rows unconfirmed, nothing was removed"),
                      HasSubstr("released -> qrxctl copy tsmdm030 --full")));
    ExpectNarrow(terminal.Screen());
    EXPECT_FALSE(InUse("tsmdm030"));
    EXPECT_FALSE(fs::exists(Sheet("tsmdm030")));
}

TEST_F(ALockedTable, StaysLockedWhenTheOperatorDoesNotSayYes) {
    GivenSheet("tsmdm030", ThisHost());
    Terminal terminal(AtTheTerminal({"tsmdm030"}), directory);
    ASSERT_TRUE(terminal.Shows("Release it? [y/N]")) << terminal.Screen();
    terminal.Type("");
    EXPECT_EQ(terminal.Wait(), 1);
    EXPECT_TRUE(InUse("tsmdm030"));
    EXPECT_TRUE(fs::exists(Sheet("tsmdm030")));
}

TEST_F(ALockedTable, StaysLockedOnAPipeThatDoesNotSayYes) {
    GivenSheet("tsmdm030", ThisHost());
    const Finished run = Qrxctl({"unlock", "tsmdm030"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.out, HasSubstr("-> qrxctl unlock tsmdm030 --yes"));
    EXPECT_TRUE(InUse("tsmdm030"));
}

TEST_F(ALockedTable, IsReleasedOnAPipeThatSaysYes) {
    GivenSheet("tsmdm030", ThisHost());
    EXPECT_EQ(Qrxctl({"unlock", "TSMDM030", "--yes"}).exitCode, 0);
    EXPECT_FALSE(InUse("tsmdm030"));
    EXPECT_EQ(Qrxctl({"copy", "tsmdm030", "--full"}).exitCode, 0);
}

TEST_F(ALockedTable, IsLeftAloneWhileItIsCopied) {
    GivenSheet("tsmdm030", ThisHost());
    const int held = open(Sheet("tsmdm030").c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_EQ(flock(held, LOCK_EX), 0);

    const Finished run = Qrxctl({"unlock", "tsmdm030", "--yes", "--force"});

    EXPECT_EQ(run.exitCode, 2);
    EXPECT_THAT(run.out, AllOf(HasSubstr("stopped  tsmdm030  is being copied now by pid 99999999"),
                               HasSubstr("-> wait, or: kill 99999999")));
    EXPECT_TRUE(InUse("tsmdm030"));
    close(held);
}

TEST_F(ALockedTable, ThatIsCopiedTellsHowFarItsCopyIs) {
    SiteWithBooks::GivenSheet("tsmdm030", ThisHost(), 8);
    GivenSign("tsmdm030", 41'200, 8000, 1);
    const SheetHolder holder(Sheet("tsmdm030"));
    const Finished run = Qrxctl({"unlock", "tsmdm030"});
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_THAT(run.out, ContainsRegex("stopped  tsmdm030  is being copied now by pid 99999999 [(]41,200 rows, "
                                       "[0-9]+ s[)]\n"));
    ExpectNarrow(run.out);
}

TEST_F(ALockedTable, WithoutProofTellsWhenItsHolderGaveTheLastSign) {
    SiteWithBooks::GivenSheet("tsmdm030", "SCHED2", 600);
    GivenSign("tsmdm030", 41'200, 400'000, 190);
    const Finished run = Qrxctl({"unlock", "tsmdm030"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(Unwrapped(run.out),
                ContainsRegex("locked by a program on host SCHED2 since [0-9]+-[0-9]+-[0-9]+ [0-9:]+ "
                              "[(]last sign 3 m ago[)], or by one that keeps no run sheet; nothing here"));
    ExpectNarrow(run.out);
}

TEST_F(ALockedTable, WithoutProofIsReleasedWhenItsNameIsTyped) {
    GivenSheet("tsmdm030", "SCHED2");
    Terminal terminal(AtTheTerminal({"tsmdm030", "--yes"}), directory);
    ASSERT_TRUE(terminal.Shows("Release it all the same? Type tsmdm030:")) << terminal.Screen();
    EXPECT_THAT(terminal.Screen(),
                AllOf(HasSubstr("locked by a program on host SCHED2"), HasSubstr("nothing here can prove")));
    ExpectNarrow(terminal.Screen());
    terminal.Type("tsmdm030");
    EXPECT_EQ(terminal.Wait(), 0);
    EXPECT_FALSE(InUse("tsmdm030"));
}

TEST_F(ALockedTable, WithoutProofStaysLockedWhenAnythingElseIsTyped) {
    Terminal terminal(AtTheTerminal({"tsmdm030"}), directory);
    ASSERT_TRUE(terminal.Shows("Type tsmdm030:")) << terminal.Screen();
    EXPECT_THAT(terminal.Screen(), HasSubstr("keeps no run sheet here"));
    terminal.Type("yes");
    EXPECT_EQ(terminal.Wait(), 1);
    EXPECT_TRUE(InUse("tsmdm030"));
}

TEST_F(ALockedTable, WithoutProofNeedsForceOnAPipe) {
    const Finished refused = Qrxctl({"unlock", "tsmdm030", "--yes"});
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_THAT(refused.out, HasSubstr("-> qrxctl unlock tsmdm030 --force"));
    EXPECT_TRUE(InUse("tsmdm030"));
    EXPECT_EQ(Qrxctl({"unlock", "tsmdm030", "--force"}).exitCode, 0);
    EXPECT_FALSE(InUse("tsmdm030"));
}

TEST_F(ALockedTable, IsReleasedWithAllOthersWhoseEndIsProved) {
    GivenSheet("tsmdm030", ThisHost());
    Lock("tsmdm100");
    const Finished run = Qrxctl({"unlock", "--all", "--yes"});
    EXPECT_EQ(run.exitCode, 1);  // one of them stays locked
    EXPECT_FALSE(InUse("tsmdm030"));
    EXPECT_TRUE(InUse("tsmdm100"));
    EXPECT_THAT(run.out, ContainsRegex("note +tsmdm100 +locked by a program that keeps no run sheet"));
    EXPECT_THAT(Unwrapped(run.out), HasSubstr("nothing here can prove that it ended; it stays locked "
                                              "-> qrxctl unlock tsmdm100"));
    EXPECT_EQ(Unwrapped(run.out).find("note tsmdm100"), Unwrapped(run.out).rfind("note tsmdm100"));
    ExpectNarrow(run.out);
}

TEST_F(ALockedTable, IsToldAsJson) {
    GivenSheet("tsmdm030", ThisHost());
    const Finished run = Qrxctl({"unlock", "tsmdm030", "tsmdm100", "--yes", "--json"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_THAT(Lines(run.out), SizeIs(1));
    EXPECT_THAT(JsonRows("SELECT json_extract(value, '$.table'), json_extract(value, '$.outcome'),"
                         " json_extract(value, '$.holder.pid') FROM json_each('" +
                         run.out + "', '$.tables')"),
                ::testing::ElementsAre("tsmdm030|released|99999999", "tsmdm100|not locked|NULL"));
}

TEST_F(ALockedTable, LocksNobodyOutOnceItIsFree) {
    const Finished run = Qrxctl({"unlock", "tsmdm100"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_THAT(run.out, ContainsRegex("ok +tsmdm100 +is not locked"));
    EXPECT_EQ(Qrxctl({"unlock", "tsmdm100", "-q"}).out, "");
}

TEST_F(ALockedTable, MustBeOneOfTheCatalog) {
    const Finished run = Qrxctl({"unlock", "tsmdm031"});
    EXPECT_EQ(run.exitCode, 64);
    EXPECT_THAT(run.err, IsOneLineWith("tsmdm031"));
    EXPECT_EQ(Qrxctl({"unlock"}).exitCode, 64);
}

}  // namespace
}  // namespace iqrx::testing
