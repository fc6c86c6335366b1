// Shows how fresh the tables are, how many rows they have, who copies them and what is wrong; writes nothing.
#pragma once

#include "qrxctl/command.h"

namespace iqrx::qrxctl {

std::unique_ptr<Command> MakeStatus();

}  // namespace iqrx::qrxctl
