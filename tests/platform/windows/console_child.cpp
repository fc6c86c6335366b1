// Sends Ctrl-Break to its own console: with "once" it ends by itself when it is asked to stop, with "twice"
// the second one ends it. The exit code 42 says that it was asked as expected.
#include <windows.h>

#include <cstring>

#include "platform/windows/machine.h"

namespace {

// A machine without a display has no console to send it through: there the system's routine for it, which
// calls the handlers, is started as the system does it.
void SendCtrlBreak() {
    if (GenerateConsoleCtrlEvent(CTRL_BREAK_EVENT, 0)) return;
    const FARPROC routine = GetProcAddress(GetModuleHandleA("kernel32"), "CtrlRoutine");
    CloseHandle(CreateThread(nullptr, 0,
                             reinterpret_cast<LPTHREAD_START_ROUTINE>(reinterpret_cast<void*>(routine)),
                             reinterpret_cast<void*>(static_cast<ULONG_PTR>(CTRL_BREAK_EVENT)), 0, nullptr));
}

}  // namespace

int main(int, char** arguments) {
    constexpr int kAsked = 42, kNotAsked = 1, kStillHere = 2;
    constexpr int kTurns = 1000;
    const auto stop = iqrx::platform::windows::ListenForConsoleEvents();
    SendCtrlBreak();
    for (int turn = 0; turn < kTurns && !stop->Asked(); ++turn) Sleep(10);
    if (stop->Asked() != "Ctrl-Break") return kNotAsked;
    if (std::strcmp(arguments[1], "once") == 0) return kAsked;
    SendCtrlBreak();
    for (int turn = 0; turn < kTurns; ++turn) Sleep(10);
    return kStillHere;
}
