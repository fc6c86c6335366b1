// Which version of the system this is; the build says it in one place.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace iqrx::hosting {

// What a program says to --version: its name and the version.
std::string VersionLine(std::string_view program);

// What the service says to `--version` or `--help`; nothing for any other command line, its program's name included.
std::optional<std::string> AnswerAboutItself(std::span<const std::string> words);

}  // namespace iqrx::hosting
