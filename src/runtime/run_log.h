// The run log: one file per table and day, opened for each entry, so that it is never held open between two
// of them.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "platform/database.h"
#include "platform/error.h"
#include "runtime/message_catalog.h"

namespace iqrx::runtime {

// A file that cannot be written stops nobody: the entry is dropped, the copy goes on, and one line on
// standard error tells of it.
class RunLog {
public:
    RunLog(platform::Machine& machine, MessageCatalog& messages, std::ostream& diagnostics)
        : machine_(machine), messages_(messages), diagnostics_(diagnostics) {}

    void SetLogFileName(std::string path);  // a new run begins; without a name nothing is written
    const std::string& LogFileName() const { return logFileName_; }

    // The error that the run met first, which is the cause of those that follow; empty while there is none.
    const std::string& FirstError() const { return firstError_; }

    // The provider's errors that LogError writes and clears; null while there is no connection to ask.
    void KeepErrors(platform::Errors* errors) { errors_ = errors; }

    // The second and third count are written when they are above 0.
    void LogTableCounts(const std::string& table, platform::Long first, platform::Long second,
                        platform::Long third);

    // What does not stop the copy but should be known.
    void LogNotice(const std::string& text);

    // The text, what the provider said of it, and the run-time error itself.
    void LogError(const std::string& text, const platform::RuntimeError& error);

private:
    void Append(const std::vector<std::string>& lines);

    platform::Machine& machine_;
    MessageCatalog& messages_;
    std::ostream& diagnostics_;
    std::string logFileName_;
    std::string firstError_;
    bool toldOfFailure_ = false;
    platform::Errors* errors_ = nullptr;
};

// The line of an error on standard error: the program's name and the description, line breaks taken out.
std::string DiagnosticLine(const std::string& description);

// Where failures go that no run log takes: in the directory, or in the machine's default one when it is blank.
std::string RequestErrorLog(const platform::Machine& machine, const std::string& logDirectory);

// Appends a failure to the request error log of a directory; a file that cannot be written stops nobody.
void LogHandlerError(platform::Machine& machine, MessageCatalog& messages, const std::string& logDirectory,
                     const platform::RuntimeError& error);

}  // namespace iqrx::runtime
