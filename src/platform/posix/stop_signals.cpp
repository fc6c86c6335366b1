#include "platform/posix/stop_signals.h"

#include <array>
#include <atomic>

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

}  // namespace

StopSignals::StopSignals() {
    firstSignal = 0;
    timesAskedHowFar = 0;
    for (const Named& each : kSignals) Handle(each.number, TakeSignal);
    Handle(SIGUSR1, TakeQuestion);
}

void StopSignals::Handle(int number, void (*handler)(int)) {
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

StopSignals::~StopSignals() {
    for (const auto& [number, before] : before_) sigaction(number, &before, nullptr);
}

std::optional<std::string> StopSignals::Asked() const {
    const int number = firstSignal.load(std::memory_order_relaxed);
    if (number == 0) return std::nullopt;
    for (const Named& each : kSignals)
        if (each.number == number) return each.name;
    return std::nullopt;
}

int StopSignals::TimesAskedHowFar() const { return timesAskedHowFar.load(std::memory_order_relaxed); }

}  // namespace iqrx::platform::posix
