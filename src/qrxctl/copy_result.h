// What came of the copy of one table.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "qrxctl/exit_code.h"

namespace iqrx::qrxctl {

enum class CopyOutcome { Copied, Failed, InUse, Guarded, Stopped };

struct TableResult {
    std::string table;
    std::string method;  // "full" or "incremental"
    CopyOutcome outcome = CopyOutcome::Failed;
    std::int64_t copied = 0, removed = 0;   // also of a copy that ended early
    std::optional<std::int64_t> rows = {};  // in the table afterwards; none when nobody could count them
    std::int64_t waiting = 0;               // rows that a full copy which ended early left unconfirmed
    double seconds = 0;
    std::string cause = {};               // one line; empty for a copy that went well
    std::string nextStep = {};            // a command; empty when there is nothing to do about it
    std::vector<std::string> notes = {};  // what should be known besides
};

// "ok", "failed", "in use", "guard", "stopped": as history and JSON say it.
const char* WordOf(CopyOutcome outcome);
ExitCode CodeOf(CopyOutcome outcome);

}  // namespace iqrx::qrxctl
