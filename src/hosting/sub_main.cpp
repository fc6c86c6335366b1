#include "hosting/sub_main.h"

#include <ostream>

#include "hosting/cls_data_copy_handler.h"
#include "hosting/command_line.h"
#include "hosting/request_failure.h"
#include "platform/error.h"

namespace iqrx::hosting {

namespace {

void StartEventLog(control::Process& process, const CommandLine& arguments) {
    std::string directory = arguments.Trimmed(kLogDirectory);
    if (directory.empty()) directory = process.machine.blankDirectory;
    process.eventLog.Start(directory + process.machine.pathSeparator + "QRXevtLG.txt");
    process.eventLog.LogEvent(process.messages.GetI18nText("SLBL0504"));
}

control::Outcome Handle(control::Process& process, const CommandLine& arguments) {
    clsDataCopyHandler handler(process);
    handler.HandleDataCopy(arguments.Trimmed(kConnectionString), arguments.Trimmed(kDatabaseName),
                           arguments.Integer(kTableId), arguments.Integer(kSyncMethod),
                           arguments.Trimmed(kLogDirectory), arguments.Trimmed(kRunParameter),
                           arguments.Long(kPlatform));
    return handler.LastOutcome();
}

// A run may go on after an error and report that it is complete; who looks at the exit code only must not be
// told that all is well.
ExitCode ExitCodeOf(control::Process& process, control::Outcome outcome) {
    const std::string& cause = process.runLog.FirstError();
    if (!cause.empty()) process.diagnostics << runtime::DiagnosticLine(cause) << std::endl;
    if (!cause.empty() || outcome == control::Outcome::Error) return kFailed;
    return outcome == control::Outcome::AlreadyInProgress ? kTableInUse : kCompleted;
}

}  // namespace

void LoadCatalog(control::Process& process, const std::string& connectionString, const std::string& database,
                 platform::Integer databasePlatform) {
    try {
        process.catalog.LoadTableCatalog(process.databases, connectionString, database, databasePlatform,
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
        arguments.Validate(process.messages);
        arguments.Apply(process.settings);
        LoadCatalog(process, arguments.Trimmed(kConnectionString), arguments.Trimmed(kDatabaseName),
                    arguments.Integer(kPlatform));
        StartEventLog(process, arguments);
        return ExitCodeOf(process, Handle(process, arguments));
    } catch (...) {
        TellOfFailure(process, arguments.LogDirectory(), platform::CurrentError());
        return kFailed;
    }
}

}  // namespace iqrx::hosting
