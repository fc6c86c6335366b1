// The words that a process was started with.
#pragma once

#include <string>
#include <vector>

namespace iqrx::platform::posix {

// The words; afterwards everybody who lists the machine's processes reads *** in the place of their
// passwords. Until then they read them.
std::vector<std::string> TakeArguments(int argc, char** argv);

}  // namespace iqrx::platform::posix
