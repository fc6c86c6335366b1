// Several services on one database, and one that crashed in the middle of a copy.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <stdexcept>

#include "scenarios/site.h"

namespace iqrx::testing {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::Gt;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Lt;

// An ERP that takes its time: a file of the extract whose text arrives when the test says so.
class SlowErp {
public:
    explicit SlowErp(const fs::path& file) {
        if (mkfifo(file.c_str(), 0600) != 0) throw std::runtime_error("no FIFO " + file.string());
        pipe_ = open(file.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
        constexpr int kRoom = 1024 * 1024;  // so that an answer never waits for its reader
        if (pipe_ < 0 || fcntl(pipe_, F_SETPIPE_SZ, kRoom) < kRoom)
            throw std::runtime_error("no room in the FIFO");
    }
    ~SlowErp() { Finish(); }
    SlowErp(const SlowErp&) = delete;
    SlowErp& operator=(const SlowErp&) = delete;

    void Answer(const std::string& text) const {
        if (write(pipe_, text.data(), text.size()) != static_cast<ssize_t>(text.size()))
            throw std::runtime_error("the FIFO is full");
    }
    void Finish() {
        if (pipe_ >= 0) close(std::exchange(pipe_, -1));
    }

private:
    int pipe_ = -1;
};

constexpr int kRows = 6000;

std::string Code(int number) {
    std::string code = std::to_string(number);
    return std::string(4 - code.size(), '0') + code;
}

// Rows for two read-aheads and more, so that a reader that waits for the rest has handed many of them on.
std::string ManyServiceTypes(int from = 0, int to = kRows) {
    std::string text = from == 0 ? "cstp,desc,proc,ract,dahe\n" : "";
    for (int i = from; i < to; ++i) text += Code(i) + ",Service type " + Code(i) + ",PROC,WRK,1\n";
    return text;
}

class SeveralServices : public Site {
protected:
    Request Skills() const {
        Request request = FullCopy();
        request.table = "5";
        return request;
    }
    int Count(const std::string& condition = "1 = 1") const {
        return std::stoi(Cell("SELECT count(*) FROM tsmdm030 WHERE " + condition));
    }
};

TEST_F(SeveralServices, CopyDifferentTablesAtTheSameTime) {
    SlowErp serviceTypes(extract / "tsmdm030.csv"), skills(extract / "tsmdm130.csv");
    Child first(ServiceCommand(FullCopy()), directory), second(ServiceCommand(Skills()), directory);
    WaitUntil([&] { return InUse("tsmdm030") && InUse("tsmdm130"); });

    serviceTypes.Answer(ManyServiceTypes());
    skills.Answer("skll,desc,clrt\nMECH,Mechanics,LR1\nELEC,Electrics,LR2\n");
    skills.Finish();
    serviceTypes.Finish();

    EXPECT_EQ(first.Wait().exitCode, 0);
    EXPECT_EQ(second.Wait().exitCode, 0);
    EXPECT_EQ(Count(), kRows);
    EXPECT_THAT(Rows("SELECT skll FROM tsmdm130 ORDER BY skll"), ElementsAre("ELEC", "MECH"));
    EXPECT_FALSE(InUse("tsmdm030"));
    EXPECT_FALSE(InUse("tsmdm130"));
}

TEST_F(SeveralServices, AreNotHeldUpByOneThatWaitsForItsErpInTheMiddleOfACopy) {
    SlowErp serviceTypes(extract / "tsmdm030.csv");
    GivenExtract("tsmdm130.csv", "skll,desc,clrt\nMECH,Mechanics,LR1");
    Child waiting(ServiceCommand(FullCopy()), directory);
    serviceTypes.Answer(ManyServiceTypes());
    WaitUntil([&] { return Count() > 0; });  // and more rows to come

    EXPECT_EQ(Service(Skills()).exitCode, 0);

    EXPECT_THAT(Rows("SELECT skll FROM tsmdm130"), ElementsAre("MECH"));
    EXPECT_TRUE(InUse("tsmdm030"));
    serviceTypes.Finish();
    EXPECT_EQ(waiting.Wait().exitCode, 0);
    EXPECT_EQ(Count(), kRows);
}

TEST_F(SeveralServices, LeaveATableToTheOneThatCameFirst) {
    SlowErp serviceTypes(extract / "tsmdm030.csv");
    Child first(ServiceCommand(FullCopy()), directory);
    WaitUntil([&] { return InUse("tsmdm030"); });

    const Finished second = Service(FullCopy());
    const Finished tool = Qrxctl({"copy", "tsmdm030", "--full"});

    EXPECT_EQ(second.exitCode, 2);
    EXPECT_EQ(tool.exitCode, 2);
    EXPECT_THAT(tool.out, HasSubstr("in use"));
    EXPECT_TRUE(InUse("tsmdm030"));

    serviceTypes.Answer(ManyServiceTypes());
    serviceTypes.Finish();
    EXPECT_EQ(first.Wait().exitCode, 0);
    EXPECT_EQ(Count(), kRows);
    EXPECT_FALSE(InUse("tsmdm030"));
}

// Ten service types of an earlier copy, five of which the ERP no longer has.
class ACrashInMidCopy : public SeveralServices {
protected:
    ACrashInMidCopy() {
        for (int i = kRows - 5; i < kRows + 5; ++i)
            Execute("INSERT INTO tsmdm030 (cstp, upd_flag) VALUES ('" + Code(i) + "', 0)");
        SlowErp erp(extract / "tsmdm030.csv");
        Child service(ServiceCommand(FullCopy()), directory);
        erp.Answer(ManyServiceTypes(0, kRows - 1000));  // however quick it is, it waits for the others
        WaitUntil([&] { return Count() > 10; });
        service.Kill();
        EXPECT_EQ(service.Wait().exitCode, 128 + 9);
        fs::remove(extract / "tsmdm030.csv");
        GivenFile(extract / "tsmdm030.csv", ManyServiceTypes());
        fs::resize_file(extract / "tsmdm030.csv", ManyServiceTypes().size());
    }
};

TEST_F(ACrashInMidCopy, LeavesTheTableLockedWithItsRowsMarkedAndNoneLost) {
    EXPECT_TRUE(InUse("tsmdm030"));
    EXPECT_EQ(Count("upd_flag = 1"), 10);
    EXPECT_THAT(Count(), AllOf(Gt(10), Lt(kRows + 5)));
    EXPECT_EQ(LastUpdate("tsmdm030"), "NULL");
    if (!OnPostgres()) {
        EXPECT_EQ(Cell("PRAGMA integrity_check"), "ok");
    }
    EXPECT_THAT(Qrxctl({"status"}).out,
                ::testing::ContainsRegex("tsmdm030 .* (locked, unknown|LOCKED, no process)"));
}

TEST_F(ACrashInMidCopy, KeepsFurtherCopiesAwayUntilTheLockIsReleased) {
    EXPECT_EQ(Service(FullCopy()).exitCode, 2);
    EXPECT_EQ(Service(FullCopy()).exitCode, 2);
}

TEST_F(ACrashInMidCopy, IsRepairedByAFullCopyOnceTheLockIsReleased) {
    Execute("UPDATE tstables SET in_use = 0 WHERE tablename = 'tsmdm030'");

    EXPECT_EQ(Service(FullCopy()).exitCode, 0);

    EXPECT_EQ(Count(), kRows);
    EXPECT_EQ(Count("upd_flag = 1"), 0);
    EXPECT_EQ(Count("dsca IS NULL"), 0);
    EXPECT_FALSE(InUse("tsmdm030"));
}

}  // namespace
}  // namespace iqrx::testing
