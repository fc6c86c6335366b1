#include "hosting/sub_main.h"

#include <ostream>

#include "hosting/cls_data_copy_handler.h"
#include "hosting/command_line.h"
#include "platform/conversions.h"
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
                           platform::ToInteger(arguments.At(kTableId)),
                           platform::ToInteger(arguments.At(kSyncMethod)), arguments.Trimmed(kLogDirectory),
                           arguments.Trimmed(kRunParameter), platform::ToLong(arguments.At(kPlatform)));
    return handler.LastOutcome();
}

ExitCode ExitCodeOf(control::Process& process, control::Outcome outcome) {
    if (outcome == control::Outcome::Complete) return kCompleted;
    if (outcome == control::Outcome::AlreadyInProgress) return kTableInUse;
    if (const std::string& cause = process.runLog.FirstError(); !cause.empty())
        process.diagnostics << runtime::DiagnosticLine(cause) << std::endl;
    return kFailed;
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

ExitCode SubMain(control::Process& process, const std::string& commandLine) {
    const CommandLine arguments(commandLine);
    try {
        arguments.Validate(process.messages);
        arguments.Apply(process.settings);
        LoadCatalog(process, arguments.Trimmed(kConnectionString), arguments.Trimmed(kDatabaseName),
                    platform::ToInteger(arguments.At(kPlatform)));
        StartEventLog(process, arguments);
        return ExitCodeOf(process, Handle(process, arguments));
    } catch (...) {
        const platform::RuntimeError error = platform::CurrentError();
        runtime::LogHandlerError(process.machine, process.messages, arguments.LogDirectory(), error);
        process.diagnostics << runtime::DiagnosticLine(error.description) << std::endl;
        return kFailed;
    }
}

}  // namespace iqrx::hosting
