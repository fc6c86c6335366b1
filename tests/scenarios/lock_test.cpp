// Services that start in the same moment on the same table: one goes in.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <stdexcept>
#include <thread>

#include "scenarios/mended_by_the_next_run.h"

namespace iqrx::testing {
namespace {

using ::testing::AnyOf;
using ::testing::UnorderedElementsAre;

// Orders that arrive when the test says so, so that whoever has the lock keeps it until then.
class TwoServices : public Site {
protected:
    TwoServices() { mkfifo(orders.c_str(), 0600); }

    // Whoever ends while the orders have not arrived did not go in.
    static void WaitForTheOneThatIsTurnedAway(Child& first, Child& second) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(2);
        while (!first.HasEnded() && !second.HasEnded()) {
            if (std::chrono::steady_clock::now() > end) throw std::runtime_error("both services went in");
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }

    const fs::path orders = extract / "tssoc200.csv";
};

TEST_F(TwoServices, ThatStartAtOnceOnOneTableAreOneThatCopiesAndOneThatIsTurnedAway) {
    Request request = FullCopy();
    request.table = "10";
    const std::string text = ReadText(Sample() / "tssoc200.csv");
    for (int round = 0; round < Rounds(10); ++round) {
        const int pipe = open(orders.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
        Child first(ServiceCommand(request), directory), second(ServiceCommand(request), directory);
        WaitForTheOneThatIsTurnedAway(first, second);
        ASSERT_EQ(write(pipe, text.data(), text.size()), static_cast<ssize_t>(text.size()));
        close(pipe);
        const Finished one = first.Wait(), other = second.Wait();
        ASSERT_THAT((std::vector{one.exitCode, other.exitCode}), UnorderedElementsAre(0, 2))
            << "round " << round << ": " << one.err << other.err;
        ASSERT_EQ(Cell("SELECT count(*) FROM tssoc200"), "40");
        ASSERT_FALSE(InUse("tssoc200"));
    }
}

// What is listed in several passes can't be held up: here the rows tell whether two were in at once.
class TwoServicesOnCalendars : public MendedByTheNextRun {};

TEST_P(TwoServicesOnCalendars, LeaveTheRowsOfOne) {
    int turnedAway = 0;
    for (int round = 0; round < Rounds(10); ++round) {
        BackToTheMorning();
        Child first(ServiceCommand(TheCopy()), directory), second(ServiceCommand(TheCopy()), directory);
        const int one = first.Wait().exitCode, other = second.Wait().exitCode;
        // Both copy where one came when the other was done.
        ASSERT_THAT((std::vector{one, other}), AnyOf(UnorderedElementsAre(0, 2), UnorderedElementsAre(0, 0)));
        if (one + other == 2) ++turnedAway;
        ASSERT_THAT(Contents(), ::testing::ContainerEq(expected)) << "round " << round;
    }
    EXPECT_GT(turnedAway, 0) << "no round brought two services together";
}

INSTANTIATE_TEST_SUITE_P(Copies, TwoServicesOnCalendars,
                         ::testing::Values(DisturbedCopy{"18", kFull, "InFull"}),
                         [](const auto& test) { return test.param.name; });

}  // namespace
}  // namespace iqrx::testing
