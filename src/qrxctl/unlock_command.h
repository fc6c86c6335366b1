// Releases a table whose copy has ended without doing so.
#pragma once

#include "qrxctl/command.h"

namespace iqrx::qrxctl {

std::unique_ptr<Command> MakeUnlock();

}  // namespace iqrx::qrxctl
