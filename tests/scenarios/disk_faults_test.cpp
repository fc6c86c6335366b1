// Disks that fail: any one write, sync, opening or truncation of the database's files, once and for good.
#include <fstream>

#include "scenarios/mended_by_the_next_run.h"

namespace iqrx::testing {
namespace {

using ::testing::AnyOf;
using ::testing::HasSubstr;
using ::testing::Not;

struct DiskFault {
    std::string kind, error;
    bool stays;
};

class AFailingDisk : public MendedByTheNextRun {
protected:
    Finished CopyWith(const DiskFault& fault, int at) const {
        const std::string preload = std::string(IQRX_SANITIZER_LIBRARY) + " " IQRX_IO_FAULTS;
        return Copy({{"LD_PRELOAD", preload},
                     {"IO_FAULTS_BELOW", database.string()},
                     {"IO_FAULTS_KIND", fault.kind},
                     {"IO_FAULTS_ERROR", fault.error},
                     {"IO_FAULTS_STAY", fault.stays ? "1" : "0"},
                     {"IO_FAULTS_AT", std::to_string(at)},
                     {"IO_FAULTS_COUNT", (directory / "count").string()}});
    }
    int Calls() const {
        int calls = 0;
        std::ifstream(directory / "count") >> calls;
        return calls;
    }

    void ExpectToldAndFree(const Finished& run, const DiskFault& fault) const {
        const std::string instance = ReadText(directory / "instance");
        if (run.exitCode == 0) {  // what failed was nobody's concern, such as tidying up
            EXPECT_THAT(Contents(), ::testing::ContainerEq(expected));
            EXPECT_THAT(instance, Not(HasSubstr("\"UpdateSyncStatus\",\"args\":[3")));
        } else {
            EXPECT_EQ(run.exitCode, 1);
            EXPECT_THAT(run.err,
                        AnyOf(HasSubstr("disk I/O error"), HasSubstr("full"), HasSubstr("cannot be opened"),
                              HasSubstr("is read-only"), HasSubstr("unable to open")));
        }
        // A broken disk takes the unlocking no more than anything else: that is said. A full one does.
        const bool broken = fault.error == "EIO";
        if (broken && run.err.find("stays locked") != std::string::npos)
            Execute("UPDATE tstables SET in_use = 0");
        EXPECT_THAT(Rows("SELECT tablename FROM tstables WHERE in_use <> 0"), ::testing::IsEmpty());
    }
};

TEST_P(AFailingDisk, IsToldAndMendedByTheNextRun) {
    for (const DiskFault& fault : {DiskFault{"write", "EIO", false}, DiskFault{"write", "EIO", true},
                                   DiskFault{"write", "ENOSPC", false}, DiskFault{"write", "ENOSPC", true},
                                   DiskFault{"sync", "EIO", true}, DiskFault{"open", "EIO", true},
                                   DiskFault{"truncate", "ENOSPC", true}}) {
        BackToTheMorning();
        EXPECT_EQ(CopyWith(fault, 0).exitCode, 0);
        ASSERT_GT(Calls(), 0) << "no " << fault.kind << " at all";
        const bool isFullFromThenOn = fault.error == "ENOSPC" && fault.stays;
        const int calls = Calls(), rounds = std::min(calls, Rounds(isFullFromThenOn ? 30 : 2));
        for (int round = 0; round < rounds; ++round) {
            const int at = 1 + round * (calls - 1) / std::max(1, rounds - 1);
            BackToTheMorning();
            const Finished run = CopyWith(fault, at);
            SCOPED_TRACE(fault.kind + " " + std::to_string(at) + " of " + std::to_string(calls) + ", " +
                         fault.error + (fault.stays ? " for good: " : " once: ") + run.err);
            ExpectToldAndFree(run, fault);
            ExpectMended();
            if (HasFailure()) return;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Copies, AFailingDisk,
                         ::testing::Values(DisturbedCopy{"4", kFull, "AreasInFull"},
                                           DisturbedCopy{"10", kIncremental, "ChangesOfOrders"},
                                           DisturbedCopy{"18", kFull, "CalendarsInFull"}),
                         [](const auto& test) { return test.param.name; });

}  // namespace
}  // namespace iqrx::testing
