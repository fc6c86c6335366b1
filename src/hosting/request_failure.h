// What becomes of a failure before a request's run has a log of its own.
#pragma once

#include <string>

#include "control/process.h"
#include "platform/error.h"

namespace iqrx::hosting {

// Writes it to the request error log and, in one line, to the diagnostics, which are all that hears of it
// where the log cannot be written.
void TellOfFailure(control::Process& process, const std::string& logDirectory,
                   const platform::RuntimeError& error);

}  // namespace iqrx::hosting
