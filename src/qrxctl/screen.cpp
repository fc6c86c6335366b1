#include "qrxctl/screen.h"

namespace iqrx::qrxctl {

// Line by line and not by an empty screen, which would flicker.
std::string Rewriting(const std::string& text, int lines) {
    std::string rewriting = "\x1b[H";
    std::size_t begin = 0;
    for (int line = 1; begin < text.size() && (lines == 0 || line < lines); ++line) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        rewriting += text.substr(begin, end - begin) + "\x1b[K\r\n";
        begin = end + 1;
    }
    return rewriting + "\x1b[J";
}

}  // namespace iqrx::qrxctl
