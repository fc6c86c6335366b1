// Services that are killed at any moment of a copy.
#include <chrono>
#include <random>
#include <thread>

#include "scenarios/mended_by_the_next_run.h"

namespace iqrx::testing {
namespace {

using Clock = std::chrono::steady_clock;

class AKilledService : public MendedByTheNextRun {
protected:
    using MendedByTheNextRun::MendedByTheNextRun;

    // Lets a copy run for some part of the time that it takes, each round another one, has something done to
    // it, and the next one mend it.
    template <class Disturb>
    void ExpectMendedAfter(int rounds, Disturb disturb) {
        const auto begin = Clock::now();
        EXPECT_EQ(Copy().exitCode, 0);
        const auto whole = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - begin);
        std::mt19937 random(20250620);
        for (int round = 0; round < rounds; ++round) {
            const std::chrono::microseconds after(std::uniform_int_distribution<long>(0, whole.count())(random));
            SCOPED_TRACE("killed after " + std::to_string(after.count()) + " of " +
                         std::to_string(whole.count()) + " us");
            BackToTheMorning();
            {
                Child service(ServiceCommand(TheCopy(), 11), directory,
                              {{"QRX_INSTANCE", (directory / "instance").string()}});
                std::this_thread::sleep_for(after);
                disturb(service);
            }
            // as an administrator does who knows that nobody copies
            Execute("UPDATE tstables SET in_use = 0");
            ExpectMended();
            if (HasFailure()) return;
        }
    }
};

TEST_P(AKilledService, IsMendedByTheNextRun) {
    ExpectMendedAfter(Rounds(4), [](Child& service) { service.Kill(); });
}

INSTANTIATE_TEST_SUITE_P(Copies, AKilledService,
                         ::testing::Values(DisturbedCopy{"10", kFull, "OrdersInFull"},
                                           DisturbedCopy{"10", kIncremental, "ChangesOfOrders"},
                                           DisturbedCopy{"12", kIncremental, "ChangesOfAssignments"},
                                           DisturbedCopy{"13", kIncremental, "ChangesOfActivities"},
                                           DisturbedCopy{"18", kFull, "CalendarsInFull"}),
                         [](const auto& test) { return test.param.name; });

class AKilledServer : public AKilledService {
protected:
    AKilledServer() : AKilledService(true, 400) {}
};

TEST_P(AKilledServer, EndsTheRunWhichIsMendedByTheNextOne) {
    int ended = 0;  // the other copies were done, or not connected yet
    ExpectMendedAfter(Rounds(5), [&](Child& service) {
        SiteServer().Crash();
        const Finished run = service.Wait();
        EXPECT_THAT(run.exitCode, ::testing::AnyOf(0, 1));
        if (run.exitCode == 1) {
            EXPECT_THAT(run.err,
                        ::testing::AnyOf(::testing::HasSubstr("[08S01]"), ::testing::HasSubstr("[08001]")));
        }
        if (run.err.find("[08S01]") != std::string::npos) ++ended;
        SiteServer().Start();
    });
    RecordProperty("ended_in_mid_copy", ended);
}

INSTANTIATE_TEST_SUITE_P(Copies, AKilledServer,
                         ::testing::Values(DisturbedCopy{"10", kFull, "OrdersInFull"},
                                           DisturbedCopy{"10", kIncremental, "ChangesOfOrders"}),
                         [](const auto& test) { return test.param.name; });

}  // namespace
}  // namespace iqrx::testing
