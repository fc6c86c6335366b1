// Shows what the control tables say of each table of the catalog.
#pragma once

#include "qrxctl/command.h"

namespace iqrx::qrxctl {

std::unique_ptr<Command> MakeStatus();

}  // namespace iqrx::qrxctl
