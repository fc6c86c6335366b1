// What the tool's standard streams are.
#pragma once

#include <string>

namespace iqrx::qrxctl {

bool TalksToTerminal();      // standard error is one
std::string TerminalType();  // "xterm", "dumb"; empty where nobody says

}  // namespace iqrx::qrxctl
