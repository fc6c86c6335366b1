#include "qrxctl/screen.h"

#include <windows.h>

#include <optional>

namespace iqrx::qrxctl {

namespace {

constexpr WCHAR kCtrlC = 3;

// Ctrl-C is a key like any other then, so that the console is put back by whoever changed it.
std::optional<DWORD> TakeKeys() {
    const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
    DWORD before = 0;
    if (!GetConsoleMode(input, &before)) return std::nullopt;
    const DWORD off = ENABLE_PROCESSED_INPUT | ENABLE_LINE_INPUT | ENABLE_ECHO_INPUT;
    if (!SetConsoleMode(input, before & ~off)) return std::nullopt;
    return before;
}

bool ReadsEnd(HANDLE input) {
    INPUT_RECORD record{};
    DWORD got = 0;
    if (!ReadConsoleInputW(input, &record, 1, &got) || got == 0) return true;
    if (record.EventType != KEY_EVENT || !record.Event.KeyEvent.bKeyDown) return false;
    const WCHAR key = record.Event.KeyEvent.uChar.UnicodeChar;
    return key == L'q' || key == L'Q' || key == kCtrlC;
}

}  // namespace

struct Screen::Keys {
    std::optional<DWORD> before = TakeKeys();
};

Screen::Screen() : keys_(std::make_unique<Keys>()) {}

Screen::~Screen() {
    if (keys_->before) SetConsoleMode(GetStdHandle(STD_INPUT_HANDLE), *keys_->before);
}

bool Screen::CanRewrite() const {
    const HANDLE output = GetStdHandle(STD_OUTPUT_HANDLE);
    DWORD mode = 0;
    return GetConsoleMode(output, &mode) &&
           SetConsoleMode(output, mode | ENABLE_PROCESSED_OUTPUT | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
}

int Screen::Lines() const {
    CONSOLE_SCREEN_BUFFER_INFO info{};
    if (!GetConsoleScreenBufferInfo(GetStdHandle(STD_OUTPUT_HANDLE), &info)) return 0;
    return info.srWindow.Bottom - info.srWindow.Top + 1;
}

bool Screen::EndsWithin(std::chrono::seconds time) {
    using Clock = std::chrono::steady_clock;
    const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
    const Clock::time_point end = Clock::now() + time;
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
        if (left.count() <= 0) return false;
        const auto milliseconds = static_cast<DWORD>(left.count());
        if (!keys_->before)
            Sleep(milliseconds);
        else if (WaitForSingleObject(input, milliseconds) == WAIT_OBJECT_0 && ReadsEnd(input))
            return true;
    }
}

}  // namespace iqrx::qrxctl
