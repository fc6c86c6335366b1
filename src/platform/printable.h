// Text from outside, made fit for one line of a log or an error.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace iqrx::platform {

// The text with every control character of ASCII and every byte that is not UTF-8 as \xNN; after `longest`
// characters it is cut, which "..." then says.
std::string Printable(std::string_view text, std::size_t longest = std::string_view::npos);

std::string OneLine(std::string_view text);  // its line breaks as blanks

std::string Shown(const std::filesystem::path& path);
std::string Quoted(std::string_view text);  // 'text', cut where a reader has seen enough

}  // namespace iqrx::platform
