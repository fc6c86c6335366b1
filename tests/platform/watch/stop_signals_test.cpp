// Signals to a child process that waits for them in the way that a copy does.
#include "platform/posix/machine.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>

namespace iqrx::platform::posix {
namespace {

constexpr int kStopped = 42;
constexpr unsigned kPatience = 20;  // seconds after which a child gives up

// A child that runs the work; its exit code, or minus the signal that ended it.
class Child {
public:
    explicit Child(const std::function<int(int ready, int go)>& work) {
        int ready[2], go[2];
        if (pipe(ready) != 0 || pipe(go) != 0) throw std::runtime_error("no pipe");
        process_ = fork();
        if (process_ == 0) {
            alarm(kPatience);
            _exit(work(ready[1], go[0]));
        }
        ready_ = ready[0];
        go_ = go[1];
        close(ready[1]);
        close(go[0]);
    }
    ~Child() {
        close(ready_);
        close(go_);
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    void AwaitReady() const {
        char byte = 0;
        if (read(ready_, &byte, 1) != 1) throw std::runtime_error("the child ended");
    }
    void Send(int signal) const { kill(process_, signal); }
    void LetGo() const { static_cast<void>(write(go_, "g", 1)); }
    int Ended() const {
        int status = 0;
        waitpid(process_, &status, 0);
        return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
    }

private:
    pid_t process_ = 0;
    int ready_ = -1, go_ = -1;
};

void Tell(int pipe) { static_cast<void>(write(pipe, "r", 1)); }

// Until it is asked to stop; then says so, and goes on until it is let go.
int CopyUntilAsked(const StopRequest& stop, int ready, int go, const std::string& by) {
    Tell(ready);
    while (!stop.Asked()) usleep(1000);
    if (stop.Asked() != by) return 1;
    Tell(ready);
    char byte = 0;
    return read(go, &byte, 1) == 1 ? kStopped : 2;
}

std::string NameOf(int signal) { return std::string("SIG") + sigabbrev_np(signal); }

class ASignal : public ::testing::TestWithParam<int> {
protected:
    const Child child{[](int ready, int go) {
        const auto stop = ListenForStopSignals();
        return CopyUntilAsked(*stop, ready, go, NameOf(GetParam()));
    }};
};

TEST_P(ASignal, AsksToStopAndLetsTheCopyEndByItself) {
    child.AwaitReady();
    child.Send(GetParam());
    child.AwaitReady();
    child.LetGo();
    EXPECT_EQ(child.Ended(), kStopped);
}

TEST_P(ASignal, EndsTheProcessAtOnceWhenItComesAgain) {
    child.AwaitReady();
    child.Send(GetParam());
    child.AwaitReady();
    child.Send(GetParam());
    EXPECT_EQ(child.Ended(), -GetParam());
}

TEST_P(ASignal, EndsTheProcessAtOnceAfterAnotherOne) {
    const int other = GetParam() == SIGTERM ? SIGINT : SIGTERM;
    child.AwaitReady();
    child.Send(GetParam());
    child.AwaitReady();
    child.Send(other);
    EXPECT_EQ(child.Ended(), -other);
}

INSTANTIATE_TEST_SUITE_P(ThatStops, ASignal, ::testing::Values(SIGINT, SIGTERM, SIGHUP),
                         [](const auto& tested) { return NameOf(tested.param); });

TEST(StopSignalsInAProcess, LeaveASignalIgnoredThatWasIgnored) {
    const Child child([](int ready, int go) {
        signal(SIGHUP, SIG_IGN);
        const auto stop = ListenForStopSignals();
        return CopyUntilAsked(*stop, ready, go, "SIGTERM");
    });
    child.AwaitReady();
    child.Send(SIGHUP);
    child.Send(SIGTERM);
    child.AwaitReady();
    child.Send(SIGHUP);
    child.LetGo();
    EXPECT_EQ(child.Ended(), kStopped);
}

TEST(StopSignalsInAProcess, CountHowOftenSigusr1HasAskedHowFarTheWorkIsAndGoOn) {
    const Child child([](int ready, int go) {
        const auto stop = ListenForStopSignals();
        if (stop->TimesAskedHowFar() != 0) return 1;
        for (int asked = 1; asked <= 2; ++asked) {
            Tell(ready);
            while (stop->TimesAskedHowFar() < asked) usleep(1000);
        }
        return CopyUntilAsked(*stop, ready, go, "SIGTERM");
    });
    for (int asked = 0; asked < 2; ++asked) {
        child.AwaitReady();
        child.Send(SIGUSR1);
    }
    child.AwaitReady();
    child.Send(SIGTERM);
    child.AwaitReady();
    child.LetGo();
    EXPECT_EQ(child.Ended(), kStopped);
}

TEST(StopSignalsInAProcess, PutBackWhatWasBefore) {
    const Child child([](int ready, int go) {
        ListenForStopSignals().reset();
        Tell(ready);
        char byte = 0;
        return static_cast<int>(read(go, &byte, 1));
    });
    child.AwaitReady();
    child.Send(SIGTERM);
    EXPECT_EQ(child.Ended(), -SIGTERM);
}

TEST(StopSignalsInAProcess, AreAskedByNobodyAtFirst) {
    EXPECT_EQ(ListenForStopSignals()->Asked(), std::nullopt);
}

}  // namespace
}  // namespace iqrx::platform::posix
