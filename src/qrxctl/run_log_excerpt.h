// What a run has left in the run log of its table.
#pragma once

#include <string>
#include <vector>

#include "journal/history.h"
#include "platform/machine.h"

namespace iqrx::qrxctl {

struct RunLogExcerpt {
    std::string file;
    std::string problem;  // why there is nothing to show, if so
    std::vector<std::string> lines;
};

// The entries between the run's begin and its end. Other runs of the table at the same time stand among them.
// Raises nothing.
RunLogExcerpt ExcerptOf(const journal::RunEntry& run, platform::Machine& machine,
                        const std::string& logDirectory);

}  // namespace iqrx::qrxctl
