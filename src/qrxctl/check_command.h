// Looks at everything that a copy needs.
#pragma once

#include "qrxctl/command.h"

namespace iqrx::qrxctl {

std::unique_ptr<Command> MakeCheck();

}  // namespace iqrx::qrxctl
