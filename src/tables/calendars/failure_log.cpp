#include "tables/calendars/failure_log.h"

#include "platform/printable.h"

namespace iqrx::tables {

namespace {

// Called inside a handler.
void LogCurrentFailure(CopyRun& run, const FailureText& text, const Subject& subject) {
    const platform::RuntimeError error = platform::CurrentError();
    std::string line = " " + run.process.messages.GetI18nText(text.label);
    if (!text.fixed.empty()) line += " - " + std::string(text.fixed);
    if (!subject.what.empty())
        line += ", " + std::string(subject.what) + " " + platform::Printable(subject.code);
    run.process.runLog.LogError(line, error);
}

struct NothingGoesThrough : platform::RuntimeError {
    explicit NothingGoesThrough(const RuntimeError& cause) : RuntimeError(cause) {}
};

bool ConnectionIsGone(CopyRun& run) {
    const platform::Errors* errors = run.Database().LastErrors();
    return errors && platform::SpeakOfLostConnection(*errors);
}

}  // namespace

void LogFailure(CopyRun& run, const FailureText& text, const Subject& subject,
                const std::function<void()>& body) {
    try {
        body();
    } catch (...) {
        LogCurrentFailure(run, text, subject);
    }
}

void LogFailureAndGoOn(CopyRun& run, const FailureText& text, const Subject& subject,
                       const std::function<void()>& body) {
    try {
        body();
    } catch (const NothingGoesThrough&) {
        throw;  // logged where it began
    } catch (const platform::WritesLost& error) {
        LogCurrentFailure(run, text, subject);
        throw NothingGoesThrough(error);
    } catch (...) {
        const bool isGone = ConnectionIsGone(run);  // before the log clears what the provider said
        const platform::RuntimeError error = platform::CurrentError();
        LogCurrentFailure(run, text, subject);
        if (isGone) throw NothingGoesThrough(error);
    }
}

}  // namespace iqrx::tables
