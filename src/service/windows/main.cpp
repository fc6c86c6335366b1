#include <cstdio>
#include <iostream>

#include "com_server/registration.h"
#include "com_server/server.h"
#include "hosting/composition.h"
#include "hosting/sub_main.h"
#include "hosting/version.h"
#include "hosting/windows/start.h"
#include "platform/error.h"
#include "platform/windows/com.h"
#include "platform/windows/leave_process.h"

namespace iqrx::hosting::windows {

namespace {

bool IsSet(DWORD stream) { return GetFileType(GetStdHandle(stream)) != FILE_TYPE_UNKNOWN; }

// The program has no window and no console of its own; one that was started from a console speaks there.
void UseConsoleOfParent() {
    const bool hasOutput = IsSet(STD_OUTPUT_HANDLE), hasErrors = IsSet(STD_ERROR_HANDLE);
    if ((hasOutput && hasErrors) || !AttachConsole(ATTACH_PARENT_PROCESS)) return;
    if (!hasOutput) _wfreopen(L"CONOUT$", L"w", stdout);
    if (!hasErrors) _wfreopen(L"CONOUT$", L"w", stderr);
}

// Everything of the program's own is closed when it returns.
int Run(const Start& start) {
    if (start.kind == StartKind::Version)
        return std::cout << VersionLine("iQRXyQRXSync") << std::endl, kCompleted;
    if (start.kind == StartKind::Register) return RegisterServer(), kCompleted;
    if (start.kind == StartKind::Unregister) return UnregisterServer(), kCompleted;
    Composition parts;
    control::Process process(parts.Machine(), parts.Databases(), parts.Erps(), parts.Objects(), std::cerr);
    if (start.kind == StartKind::Embedding) return RunServer(process), kCompleted;
    return SubMain(process, start.commandLine);
}

int ExitCodeOf(int argc, wchar_t** argv) {
    try {
        const auto start = ReadStart(argc, argv);
        if (start.kind != StartKind::Embedding) UseConsoleOfParent();
        return Run(start);
    } catch (...) {
        std::cerr << runtime::DiagnosticLine(platform::CurrentError().description) << std::endl;
        return kFailed;
    }
}

}  // namespace

}  // namespace iqrx::hosting::windows

int wmain(int argc, wchar_t** argv) {
    iqrx::platform::windows::LeaveProcess(iqrx::hosting::windows::ExitCodeOf(argc, argv));
}
