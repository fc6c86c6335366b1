// A run's jobs at work: as many tables at once as the run wants.
#pragma once

#include <string>
#include <vector>

#include "qrxctl/copy_job.h"
#include "qrxctl/copy_report.h"

namespace iqrx::qrxctl {

// Copies the tables, which are in the order in which they may begin, and fills the report's results and what
// a stop left. Shows how far it is meanwhile. A calendar begins when all others have ended: it lists what
// they have brought. Raises RuntimeError when no job can begin.
void Copy(const CopyRun& run, const std::vector<std::string>& tables, CopyReport& report);

}  // namespace iqrx::qrxctl
