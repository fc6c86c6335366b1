// What the tool's standard streams are.
#pragma once

#include <string>

namespace iqrx::qrxctl {

bool TalksToTerminal();      // standard error is one
std::string TerminalType();  // "xterm", "dumb"; empty where nobody says
char LineGoesOn();           // what the shell takes at a line's end for "the command goes on in the next one"

}  // namespace iqrx::qrxctl
