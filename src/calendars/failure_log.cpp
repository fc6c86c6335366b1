#include "calendars/failure_log.h"

namespace iqrx::calendars {

void LogFailure(CopyRun& run, const FailureText& text, const Subject& subject,
                const std::function<void()>& body) {
    try {
        body();
    } catch (...) {
        const platform::RuntimeError error = platform::CurrentError();
        std::string line = " " + run.process.messages.GetI18nText(text.label);
        if (!text.fixed.empty()) line += " - " + std::string(text.fixed);
        if (!subject.what.empty()) line += ", " + std::string(subject.what) + " " + subject.code;
        run.process.runLog.LogError(line, error);
    }
}

}  // namespace iqrx::calendars
