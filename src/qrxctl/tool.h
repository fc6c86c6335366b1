// The operator's tool.
#pragma once

#include <string>
#include <vector>

#include "composition/composition.h"

namespace iqrx::qrxctl {

// Runs the words of a command line, the program's name first, UTF-8. Returns the exit code; raises nothing.
int RunTool(const std::vector<std::string>& words, const hosting::Variables& variables);

}  // namespace iqrx::qrxctl
