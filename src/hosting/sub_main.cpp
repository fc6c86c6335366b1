#include "hosting/sub_main.h"

#include <ostream>

#include "hosting/cls_data_copy_handler.h"
#include "hosting/command_line.h"

namespace iqrx::hosting {

namespace {

void StartEventLog(control::Process& process, const std::string& logDirectory) {
    const std::string& directory = logDirectory.empty() ? process.machine.blankDirectory : logDirectory;
    process.eventLog.Start(directory + process.machine.pathSeparator + "QRXevtLG.txt");
    process.eventLog.LogEvent(process.messages.GetI18nText("SLBL0504"));
}

}  // namespace

std::string VersionLine(std::string_view program) { return std::string(program) + " " IQRX_VERSION; }

std::optional<std::string> AnswerAboutItself(std::span<const std::string> words) {
    if (words.size() != 2 || (words[1] != "--version" && words[1] != "--help")) return std::nullopt;
    std::string answer = VersionLine("iQRXyQRXSync") + "\n";
    if (words[1] == "--help")
        answer +=
            "iQRXyQRXSync 'CONNECTION{}DATABASE{}TABLEID{}METHOD{}LOGDIR{}RUNPARAMETER"
            "{}STATUSKEY{}CALENDAR{}PLATFORM{}INSTANCE{}GROUP{}EXTRA'\n";
    return answer;
}

ExitCode ExitCodeOf(const std::string& cause, control::Outcome outcome) {
    if (!cause.empty()) return kFailed;
    if (outcome == control::Outcome::AlreadyInProgress) return kTableInUse;
    return outcome == control::Outcome::Complete ? kCompleted : kFailed;
}

void LoadCatalog(control::Process& process, const control::CopyRequest& request) {
    try {
        process.catalog.LoadTableCatalog(process.databases, request.connectionString, request.localDatabase,
                                         static_cast<platform::Integer>(request.databasePlatform),
                                         process.settings.treeGroup);
    } catch (...) {
        const platform::RuntimeError error = platform::CurrentError();
        throw platform::RuntimeError(error.number, "iQrx Data Copy - Start",
                                     process.messages.GetI18nText("SLBL0321") +
                                         process.messages.GetI18nText("SLBL0026") + "\r\n" + error.description);
    }
}

std::string RequestText(std::span<const std::string> words) {
    std::string text;
    for (std::size_t i = 1; i < words.size(); ++i) text += (i > 1 ? " " : "") + words[i];
    return text;
}

ExitCode SubMain(control::Process& process, const std::string& commandLine) {
    const CommandLine arguments(commandLine);
    try {
        control::CopyRequest request = arguments.Request(process.messages, process.settings);
        LoadCatalog(process, request);
        StartEventLog(process, request.logFilePath);
        arguments.AddTableAndMethod(request);
        clsDataCopyHandler handler(process);
        handler.HandleDataCopy(request);
        const std::string& cause = process.runLog.FirstError();
        if (!cause.empty()) process.diagnostics << runtime::DiagnosticLine(cause) << std::endl;
        return ExitCodeOf(cause, handler.LastOutcome());
    } catch (...) {
        TellOfFailure(process, arguments.LogDirectory(), platform::CurrentError());
        return kFailed;
    }
}

}  // namespace iqrx::hosting
