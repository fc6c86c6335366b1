#include "hosting/request_failure.h"

#include <ostream>

#include "runtime/run_log.h"

namespace iqrx::hosting {

void TellOfFailure(control::Process& process, const std::string& logDirectory,
                   const platform::RuntimeError& error) {
    runtime::LogHandlerError(process.machine, process.messages, logDirectory, error);
    process.diagnostics << runtime::DiagnosticLine(error.description) << std::endl;
}

}  // namespace iqrx::hosting
