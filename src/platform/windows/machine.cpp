#include "platform/windows/machine.h"

#include <array>

#include "platform/date.h"
#include "platform/windows/com.h"

namespace iqrx::platform::windows {

namespace {

class LocalClock : public Clock {
public:
    Date Now() override {
        SYSTEMTIME now;
        GetLocalTime(&now);
        return FromCivil({now.wYear, now.wMonth, now.wDay, now.wHour, now.wMinute, now.wSecond});
    }
};

SYSTEMTIME SystemTime(Date moment) {
    constexpr WORD kUnusedWeekday = 0, kMilliseconds = 0;
    const auto [year, month, day, hour, minute, second] = ToCivil(moment);
    const auto word = [](int number) { return static_cast<WORD>(number); };
    return {word(year), word(month),  kUnusedWeekday, word(day),
            word(hour), word(minute), word(second),   kMilliseconds};
}

class UserLocale : public Locale {
public:
    std::string DecimalSeparator() override {
        std::array<wchar_t, 50> buffer{};
        GetLocaleInfoW(GetUserDefaultLCID(), LOCALE_SDECIMAL, buffer.data(), buffer.size());
        return Utf8(buffer.data());
    }
    std::string ShortDate(Date moment) override { return Shown(GetDateFormatW, DATE_SHORTDATE, moment); }
    std::string LongTime(Date moment) override { return Shown(GetTimeFormatW, 0, moment); }

private:
    static std::string Shown(decltype(GetDateFormatW)* format, DWORD flags, Date moment) {
        const SYSTEMTIME time = SystemTime(moment);
        std::array<wchar_t, 100> buffer{};
        format(GetUserDefaultLCID(), flags, &time, nullptr, buffer.data(), buffer.size());
        return Utf8(buffer.data());
    }
};

class StandardTimeZone : public TimeZone {
public:
    int BiasMinutes() override {
        TIME_ZONE_INFORMATION zone{};
        GetTimeZoneInformation(&zone);
        return zone.Bias;
    }
};

void CALLBACK AnswerForNobody(HWND, UINT, UINT_PTR, DWORD) {
    const auto answer = [](HWND window, LPARAM) {
        EndDialog(window, IDOK);
        return TRUE;
    };
    EnumThreadWindows(GetCurrentThreadId(), answer, 0);
}

class UserMessageBox final : public MessageDisplay {
public:
    explicit UserMessageBox(Audience audience) : audience_(audience) {}

    void Show(const std::string& text) override {
        const std::wstring wide = Wide(text);
        if (audience_ == Audience::Nobody) return OutputDebugStringW(wide.c_str());
        // The box runs the thread's messages, and with them the timer.
        constexpr UINT kLimitMilliseconds = 60'000;
        const UINT_PTR timer = SetTimer(nullptr, 0, kLimitMilliseconds, &AnswerForNobody);
        MessageBoxW(nullptr, wide.c_str(), L"iQRXyQRXSync", MB_OK | MB_ICONEXCLAMATION | MB_SETFOREGROUND);
        KillTimer(nullptr, timer);
    }

private:
    Audience audience_;
};

struct Parts {
    UserMessageBox messageBox;
    LocalClock clock = {};
    UserLocale locale = {};
    StandardTimeZone timeZone = {};
    const std::unique_ptr<TextFiles> files = CreateTextFiles();
    const Machine ports{.clock = clock,
                        .locale = locale,
                        .timeZone = timeZone,
                        .messageBox = messageBox,
                        .makeXmlDocument = CreateXmlDocument,
                        .files = *files,
                        .programFolder = ProgramFile().parent_path(),
                        .pathSeparator = '\\',
                        .lineEnd = "\r\n",
                        .blankDirectory = "",
                        .defaultLogDirectory = "C:"};
};

}  // namespace

std::shared_ptr<const Machine> CreateMachine(Audience audience) {
    const std::shared_ptr<Parts> parts(new Parts{UserMessageBox(audience)});
    return {parts, &parts->ports};
}

Audience AudienceOfDesktop() {
    USEROBJECTFLAGS flags{};
    const bool known =
        GetUserObjectInformationW(GetProcessWindowStation(), UOI_FLAGS, &flags, sizeof flags, nullptr) != 0;
    return known && (flags.dwFlags & WSF_VISIBLE) != 0 ? Audience::Somebody : Audience::Nobody;
}

std::filesystem::path ProgramFile() {
    std::wstring file(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length = GetModuleFileNameW(nullptr, file.data(), static_cast<DWORD>(file.size()));
        if (length < file.size()) return file.substr(0, length);
        file.resize(file.size() * 2);
    }
}

}  // namespace iqrx::platform::windows
