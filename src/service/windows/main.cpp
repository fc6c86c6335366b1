#include <cstdio>
#include <iostream>

#include "com_server/server.h"
#include "composition/composition.h"
#include "hosting/sub_main.h"
#include "platform/error.h"
#include "platform/text.h"
#include "platform/windows/apartment.h"

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

// COM's switches begin with '/' or '-' and are not case-sensitive.
bool IsSwitch(const std::string& word, std::string_view name) {
    return (word.starts_with('/') || word.starts_with('-')) &&
           platform::EqualIgnoringCase(std::string_view(word).substr(1), name);
}

// Everything of the program's own is closed when it returns.
int Run(const std::vector<std::string>& words) {
    const std::string first = words.size() > 1 ? words[1] : "";
    const bool isEmbedded = IsSwitch(first, "Embedding");
    if (!isEmbedded) UseConsoleOfParent();
    if (const auto answer = AnswerAboutItself(words)) return std::cout << *answer << std::flush, kCompleted;
    if (IsSwitch(first, "regserver")) return RegisterServer(), kCompleted;
    if (IsSwitch(first, "unregserver")) return UnregisterServer(), kCompleted;
    const auto stop = ListenForStop();
    Surroundings surroundings = SurroundingsOfService(Variable, stop.get());
    surroundings.isEmbedded = isEmbedded;
    Composition parts(surroundings);
    const auto recorder = RecordRuns(parts, std::cerr, *stop);
    control::Process process(parts.Ports(std::cerr, recorder.get()));
    if (isEmbedded) return RunServer(process), kCompleted;
    return SubMain(process, RequestText(words));
}

int ExitCodeOf(int argc, wchar_t** argv) {
    try {
        std::vector<std::string> words;
        for (int i = 0; i < argc; ++i) words.push_back(platform::windows::Utf8(argv[i]));
        return Run(words);
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
