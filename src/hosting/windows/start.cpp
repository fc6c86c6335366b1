#include "hosting/windows/start.h"

#include "platform/connection_string.h"
#include "platform/windows/com.h"
// After com.h, whose types it uses.
#include <shellapi.h>

namespace iqrx::hosting::windows {

namespace {

bool IsSwitch(const std::string& argument, std::string_view name) {
    return argument.size() == name.size() + 1 && (argument[0] == '/' || argument[0] == '-') &&
           platform::EqualIgnoringCase(std::string_view(argument).substr(1), name);
}

}  // namespace

Start ReadStart(int count, const wchar_t* const* arguments) {
    Start start;
    for (int i = 1; i < count; ++i)
        start.commandLine += (i > 1 ? " " : "") + platform::windows::Utf8(arguments[i]);
    const std::string first = count > 1 ? platform::windows::Utf8(arguments[1]) : std::string();
    if (IsSwitch(first, "Embedding")) start.kind = StartKind::Embedding;
    if (IsSwitch(first, "regserver")) start.kind = StartKind::Register;
    if (IsSwitch(first, "unregserver")) start.kind = StartKind::Unregister;
    if (count == 2 && first == "--version") start.kind = StartKind::Version;
    return start;
}

platform::windows::Audience AudienceOfStart() {
    int count = 0;
    LPWSTR* const arguments = CommandLineToArgvW(GetCommandLineW(), &count);
    const bool embedding = arguments != nullptr && ReadStart(count, arguments).kind == StartKind::Embedding;
    LocalFree(arguments);
    return embedding ? platform::windows::Audience::Nobody : platform::windows::AudienceOfDesktop();
}

}  // namespace iqrx::hosting::windows
