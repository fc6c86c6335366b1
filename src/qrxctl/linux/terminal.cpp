#include "qrxctl/terminal.h"

#include <unistd.h>

#include <cstdlib>

namespace iqrx::qrxctl {

bool TalksToTerminal() { return isatty(STDERR_FILENO) != 0; }

std::string TerminalType() {
    const char* type = std::getenv("TERM");
    return type ? type : "";
}

char LineGoesOn() { return '\\'; }

}  // namespace iqrx::qrxctl
