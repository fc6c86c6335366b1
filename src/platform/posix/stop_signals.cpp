#include "platform/posix/machine.h"

#include <signal.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <utility>
#include <vector>

namespace iqrx::platform::posix {

namespace {

struct Named {
    int number;
    const char* name;
};
constexpr std::array<Named, 3> kSignals{{{SIGINT, "SIGINT"}, {SIGTERM, "SIGTERM"}, {SIGHUP, "SIGHUP"}}};

// The first signal that came; 0: none. A handler has nothing else to write to.
std::atomic<int> firstSignal{0};
std::atomic<int> timesAskedHowFar{0};
static_assert(std::atomic<int>::is_always_lock_free, "a handler must not wait");

void TakeSignal(int number) {
    int none = 0;
    if (firstSignal.compare_exchange_strong(none, number)) return;
    signal(number, SIG_DFL);
    raise(number);  // comes when the handler returns: until then the signal is blocked
}

void TakeQuestion(int) { ++timesAskedHowFar; }

class StopSignals final : public StopRequest {
public:
    StopSignals() {
        firstSignal = 0;
        timesAskedHowFar = 0;
        for (const Named& each : kSignals) Handle(each.number, TakeSignal);
        Handle(SIGUSR1, TakeQuestion);
    }
    ~StopSignals() override {
        for (const auto& [number, before] : before_) sigaction(number, &before, nullptr);
    }
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;

    std::optional<std::string> Asked() const override {
        const int number = firstSignal.load(std::memory_order_relaxed);
        const auto* const first = std::ranges::find(kSignals, number, &Named::number);
        if (first == kSignals.end()) return std::nullopt;
        return first->name;
    }
    int TimesAskedHowFar() const override { return timesAskedHowFar.load(std::memory_order_relaxed); }

private:
    void Handle(int number, void (*handler)(int)) {
        struct sigaction action {};
        action.sa_handler = handler;
        action.sa_flags = SA_RESTART;  // a call of the system's is no statement: it goes on
        sigemptyset(&action.sa_mask);
        struct sigaction before {};
        sigaction(number, nullptr, &before);
        if (before.sa_handler == SIG_IGN) return;
        before_.emplace_back(number, before);
        sigaction(number, &action, nullptr);
    }

    std::vector<std::pair<int, struct sigaction>> before_;
};

}  // namespace

std::unique_ptr<StopRequest> ListenForStopSignals() { return std::make_unique<StopSignals>(); }

}  // namespace iqrx::platform::posix
