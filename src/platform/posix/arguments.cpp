#include "platform/posix/arguments.h"

#include <algorithm>
#include <cstring>

#include "platform/connection_string.h"

namespace iqrx::platform::posix {

namespace {

// The list shows the word's own bytes, of which there are no more and no fewer: what is left over is blank.
void Overwrite(char* word, std::string shown) {
    const std::size_t length = std::strlen(word);
    shown.resize(length, ' ');
    std::ranges::copy(shown, word);
}

}  // namespace

std::vector<std::string> TakeArguments(int argc, char** argv) {
    std::vector<std::string> words(argv, argv + argc);
    for (std::size_t i = 0; i < words.size(); ++i)
        if (std::string masked = Masked(words[i]); masked != words[i]) Overwrite(argv[i], std::move(masked));
    return words;
}

}  // namespace iqrx::platform::posix
