#include <windows.h>

#include <algorithm>
#include <array>

#include "platform/windows/machine.h"

namespace iqrx::platform::windows {

namespace {

constexpr int kPauseMilliseconds = 10;
constexpr int kPatience = 20'000 / kPauseMilliseconds;  // no system waits for longer

// A handler is called with nothing but the event's number.
StopConversation conversation;

struct Named {
    unsigned long number;
    const char* name;
};
constexpr std::array<Named, 5> kEvents{{{CTRL_C_EVENT, "Ctrl-C"},
                                        {CTRL_BREAK_EVENT, "Ctrl-Break"},
                                        {CTRL_CLOSE_EVENT, "close"},
                                        {CTRL_LOGOFF_EVENT, "logoff"},
                                        {CTRL_SHUTDOWN_EVENT, "shutdown"}}};

void Pause() { Sleep(kPauseMilliseconds); }

BOOL WINAPI Handle(DWORD event) {
    return TakeConsoleEvent(conversation, event, Pause, kPatience) ? TRUE : FALSE;
}

class StopEvents final : public StopRequest {
public:
    StopEvents() {
        conversation.askedBy = nullptr;
        conversation.isOver = false;
        SetConsoleCtrlHandler(Handle, TRUE);
    }
    ~StopEvents() override {
        conversation.isOver = true;
        SetConsoleCtrlHandler(Handle, FALSE);
    }
    StopEvents(const StopEvents&) = delete;
    StopEvents& operator=(const StopEvents&) = delete;

    std::optional<std::string> Asked() const override {
        const char* const name = conversation.askedBy.load(std::memory_order_relaxed);
        if (!name) return std::nullopt;
        return name;
    }
};

}  // namespace

bool TakeConsoleEvent(StopConversation& with, unsigned long event, void (*pause)(), int patience) {
    const auto* const known = std::ranges::find(kEvents, event, &Named::number);
    if (known == kEvents.end()) return false;
    const char* nobody = nullptr;
    const bool isFirst = with.askedBy.compare_exchange_strong(nobody, known->name);
    if (event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT) return isFirst;
    for (int pauses = 0; pauses < patience && !with.isOver; ++pauses) pause();
    return true;
}

std::unique_ptr<StopRequest> ListenForConsoleEvents() { return std::make_unique<StopEvents>(); }

}  // namespace iqrx::platform::windows
