#include "platform/windows/com.h"
#include "platform/windows/machine_parts.h"

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

class UserMessageBox final : public MessageDisplay {
public:
    UserMessageBox(Audience audience, std::chrono::milliseconds limit) : audience_(audience), limit_(limit) {}

    void Show(const std::string& text) override {
        const std::wstring wide = Wide(text);
        if (audience_ == Audience::Nobody) return OutputDebugStringW(wide.c_str());
        // The box runs the thread's messages, and with them the timer.
        const UINT_PTR timer = SetTimer(nullptr, 0, static_cast<UINT>(limit_.count()), &AnswerForNobody);
        MessageBoxW(nullptr, wide.c_str(), kTitle, MB_OK | MB_ICONEXCLAMATION | MB_SETFOREGROUND);
        KillTimer(nullptr, timer);
    }

private:
    Audience audience_;
    std::chrono::milliseconds limit_;
};

}  // namespace

std::unique_ptr<MessageDisplay> CreateMessageBox(Audience audience, std::chrono::milliseconds limit) {
    return std::make_unique<UserMessageBox>(audience, limit);
}

}  // namespace iqrx::platform::windows
