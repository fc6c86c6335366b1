#include "hosting/version.h"

namespace iqrx::hosting {

std::string VersionLine(std::string_view program) { return std::string(program) + " " IQRX_VERSION; }

}  // namespace iqrx::hosting
