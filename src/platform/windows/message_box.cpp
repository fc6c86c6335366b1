#include "platform/windows/com.h"
// Before message_box.h: its class has the name that windows.h gives another meaning.
#include "platform/windows/message_box.h"

namespace iqrx::platform::windows {

namespace {

constexpr const wchar_t* kTitle = L"iQRXyQRXSync";

BOOL CALLBACK Answer(HWND window, LPARAM) {
    EndDialog(window, IDOK);
    return TRUE;
}

void CALLBACK AnswerForNobody(HWND, UINT, UINT_PTR, DWORD) {
    EnumThreadWindows(GetCurrentThreadId(), Answer, 0);
}

}  // namespace

void UserMessageBox::Show(const std::string& text) {
    const std::wstring wide = Wide(text);
    if (audience_ == Audience::Nobody) return OutputDebugStringW(wide.c_str());
    // The box runs the thread's messages, and with them the timer.
    const UINT_PTR timer = SetTimer(nullptr, 0, static_cast<UINT>(limit_.count()), &AnswerForNobody);
    MessageBoxW(nullptr, wide.c_str(), kTitle, MB_OK | MB_ICONEXCLAMATION | MB_SETFOREGROUND);
    KillTimer(nullptr, timer);
}

}  // namespace iqrx::platform::windows
