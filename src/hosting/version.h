// Which version of the system this is; the build says it in one place.
#pragma once

#include <string>
#include <string_view>

namespace iqrx::hosting {

// What a program says to --version: its name and the version.
std::string VersionLine(std::string_view program);

}  // namespace iqrx::hosting
