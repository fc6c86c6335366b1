// Services that are killed at any moment of a copy.
#include <chrono>
#include <random>
#include <thread>

#include "scenarios/mended_by_the_next_run.h"

namespace iqrx::testing {
namespace {

using Clock = std::chrono::steady_clock;

class AKilledService : public MendedByTheNextRun {};

TEST_P(AKilledService, IsMendedByTheNextRun) {
    const auto begin = Clock::now();
    EXPECT_EQ(Copy().exitCode, 0);
    const auto whole = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - begin);
    std::mt19937 random(20250620);
    for (int round = 0; round < Rounds(4); ++round) {
        const std::chrono::microseconds after(std::uniform_int_distribution<long>(0, whole.count())(random));
        SCOPED_TRACE("killed after " + std::to_string(after.count()) + " of " +
                     std::to_string(whole.count()) + " us");
        BackToTheMorning();
        {
            Child service(ServiceCommand(TheCopy(), 11), directory,
                          {{"QRX_INSTANCE", (directory / "instance").string()}});
            std::this_thread::sleep_for(after);
            service.Kill();
        }
        Read("UPDATE tstables SET in_use = 0");  // as an administrator does who knows that nobody copies
        ExpectMended();
        if (HasFailure()) return;
    }
}

INSTANTIATE_TEST_SUITE_P(Copies, AKilledService,
                         ::testing::Values(DisturbedCopy{"10", kFull, "OrdersInFull"},
                                           DisturbedCopy{"10", kIncremental, "ChangesOfOrders"},
                                           DisturbedCopy{"12", kIncremental, "ChangesOfAssignments"},
                                           DisturbedCopy{"13", kIncremental, "ChangesOfActivities"},
                                           DisturbedCopy{"18", kFull, "CalendarsInFull"}),
                         [](const auto& test) { return test.param.name; });

}  // namespace
}  // namespace iqrx::testing
