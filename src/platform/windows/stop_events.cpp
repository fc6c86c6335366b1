#include "platform/windows/stop_events.h"

#include <windows.h>

namespace iqrx::platform::windows {

namespace {

constexpr int kPauseMilliseconds = 10;
constexpr int kPatience = 20'000 / kPauseMilliseconds;  // no system waits for longer

// A handler is called with nothing but the event's number.
StopConversation conversation;

const char* NameOf(unsigned long event) {
    switch (event) {
        case CTRL_C_EVENT:
            return "Ctrl-C";
        case CTRL_BREAK_EVENT:
            return "Ctrl-Break";
        case CTRL_CLOSE_EVENT:
            return "close";
        case CTRL_LOGOFF_EVENT:
            return "logoff";
        case CTRL_SHUTDOWN_EVENT:
            return "shutdown";
        default:
            return nullptr;
    }
}

void Pause() { Sleep(kPauseMilliseconds); }

BOOL WINAPI Handle(DWORD event) {
    return TakeConsoleEvent(conversation, event, Pause, kPatience) ? TRUE : FALSE;
}

}  // namespace

bool TakeConsoleEvent(StopConversation& with, unsigned long event, void (*pause)(), int patience) {
    const char* const name = NameOf(event);
    if (!name) return false;
    const char* nobody = nullptr;
    const bool isFirst = with.askedBy.compare_exchange_strong(nobody, name);
    if (event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT) return isFirst;
    for (int pauses = 0; pauses < patience && !with.isOver; ++pauses) pause();
    return true;
}

StopEvents::StopEvents() {
    conversation.askedBy = nullptr;
    conversation.isOver = false;
    SetConsoleCtrlHandler(Handle, TRUE);
}

StopEvents::~StopEvents() {
    conversation.isOver = true;
    SetConsoleCtrlHandler(Handle, FALSE);
}

std::optional<std::string> StopEvents::Asked() const {
    const char* const name = conversation.askedBy.load(std::memory_order_relaxed);
    if (!name) return std::nullopt;
    return name;
}

}  // namespace iqrx::platform::windows
