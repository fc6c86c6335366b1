// Writes down the service's runs: a run sheet while one copies, a line of history when it has ended.
#pragma once

#include "composition/composition.h"
#include "control/run_witness.h"

namespace iqrx::hosting {

// All is borrowed. What cannot be written is told there, in one line a run, and the copy goes on.
std::unique_ptr<control::RunWitness> RecordRuns(Composition& parts, std::ostream& diagnostics,
                                                const platform::StopRequest& stop);

}  // namespace iqrx::hosting
