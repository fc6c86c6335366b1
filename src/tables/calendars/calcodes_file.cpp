#include "platform/conversions.h"
#include "platform/error.h"
#include "platform/text.h"
#include "tables/calendars/calendars.h"
#include "tables/calendars/failure_log.h"

namespace iqrx::tables {

namespace {

constexpr FailureText kCodesFile{"STIT0023", "Calendar Codes File"};

platform::TextStream& OpenFile(CopyRun& run) {
    if (!run.calcodesFile) platform::RaiseRuntimeError(platform::kObjectNotSet);
    return *run.calcodesFile;
}

}  // namespace

std::filesystem::path CalcodesFilePath(CopyRun& run) {
    constexpr std::string_view kDateAndEnding = "_YYYYMMDD.log";
    const std::string& log = run.process.runLog.LogFileName();
    if (log.size() < kDateAndEnding.size()) platform::RaiseRuntimeError(platform::kInvalidProcedureCall);
    return platform::Path(log.substr(0, log.size() - kDateAndEnding.size()) +
                          std::to_string(run.process.settings.currentInstanceNumber) + "_calcodes.txt");
}

void CreateCalcodesFile(CopyRun& run) {
    LogFailure(run, kCodesFile, {}, [&] {
        run.calcodesFile.reset();
        run.calcodesFile = run.process.machine.files.CreateTextFile(CalcodesFilePath(run));
    });
}

void WriteCalcode(CopyRun& run, const platform::Value& sCalCode) {
    Subject subject;
    LogFailure(run, kCodesFile, subject, [&] {
        const std::string code = platform::ToText(sCalCode);
        subject = CalendarNamed(code);
        if (code.find_first_of("\r\n") != std::string::npos)
            platform::RaiseRuntimeError(platform::kInvalidProcedureCall, "a calendar code with a line break");
        OpenFile(run).WriteLine(code);
    });
}

void CloseCalcodesFile(CopyRun& run) {
    LogFailure(run, kCodesFile, {}, [&] {
        OpenFile(run).Close();
        run.calcodesFile.reset();
    });
}

}  // namespace iqrx::tables
