// The forms in which the state of the tables is shown.
#pragma once

#include <string>
#include <vector>

#include "qrxctl/status_findings.h"

namespace iqrx::qrxctl {

// For people: heading, what is being copied, a line a table, summary, what is wrong. With `runningFirst`
// tables that are being copied stand on top.
std::string StatusText(const Overview& overview, const std::vector<Judgement>& judgements, bool runningFirst);

// What was read of each trail, and what was left out.
std::string ReadText(const Overview& overview);

// One object.
std::string StatusJson(const Overview& overview, const std::vector<Judgement>& judgements,
                       const platform::Host& host);

// For a collector of metrics.
std::string StatusMetrics(const Overview& overview);

}  // namespace iqrx::qrxctl
