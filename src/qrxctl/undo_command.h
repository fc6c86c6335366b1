// Brings back the rows that a full copy has removed.
#pragma once

#include "qrxctl/command.h"

namespace iqrx::qrxctl {

std::unique_ptr<Command> MakeUndo();

}  // namespace iqrx::qrxctl
