// Shows what ran, when, and how it ended; and takes away what is old.
#pragma once

#include "qrxctl/command.h"

namespace iqrx::qrxctl {

std::unique_ptr<Command> MakeHistory();

}  // namespace iqrx::qrxctl
