#include "qrxctl/terminal.h"

#include <io.h>
#include <windows.h>

namespace iqrx::qrxctl {

namespace {

// A console that understands the sequences by which a line is rewritten, once it is told to.
bool TakesSequences() {
    const HANDLE console = GetStdHandle(STD_ERROR_HANDLE);
    DWORD mode = 0;
    return GetConsoleMode(console, &mode) &&
           SetConsoleMode(console, mode | ENABLE_PROCESSED_OUTPUT | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
}

}  // namespace

bool TalksToTerminal() { return _isatty(_fileno(stderr)) != 0; }

std::string TerminalType() { return TakesSequences() ? "console" : "dumb"; }

char LineGoesOn() { return '^'; }

}  // namespace iqrx::qrxctl
