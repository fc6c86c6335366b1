// Writes an ERP extract of realistic data.
#pragma once

#include "qrxctl/command.h"

namespace iqrx::qrxctl {

std::unique_ptr<Command> MakeSample();

}  // namespace iqrx::qrxctl
