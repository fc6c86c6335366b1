// The words that a process was started with.
#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "platform/connection_string.h"

namespace iqrx::platform::posix {

// The words; afterwards everybody who lists the machine's processes reads *** in the place of their
// passwords. Until then they read them.
inline std::vector<std::string> TakeArguments(int argc, char** argv) {
    std::vector<std::string> words(argv, argv + argc);
    for (std::size_t i = 0; i < words.size(); ++i) {
        std::string shown = Masked(words[i]);
        if (shown == words[i]) continue;
        // The list shows the word's own bytes, of which there are no more and no fewer: what is left over is blank.
        shown.resize(words[i].size(), ' ');
        std::ranges::copy(shown, argv[i]);
    }
    return words;
}

}  // namespace iqrx::platform::posix
