// Copies tables, one request each, through the handler that the service uses.
#pragma once

#include "qrxctl/command.h"

namespace iqrx::qrxctl {

std::unique_ptr<Command> MakeCopy();

}  // namespace iqrx::qrxctl
