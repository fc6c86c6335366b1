// Text from outside, made fit for one line of a log, an error or JSON.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "platform/value.h"

namespace iqrx::platform {

// The text with every control character of ASCII and every byte that is not UTF-8 as \xNN; after `longest`
// characters it is cut, which "..." then says.
std::string Printable(std::string_view text, std::size_t longest = std::string_view::npos);

std::string OneLine(std::string_view text);  // its line breaks as blanks

std::string Shown(const std::filesystem::path& path);
std::string Quoted(std::string_view text);  // 'text', cut where a reader has seen enough

// The text in double quotes, escaped as JSON wants it; bytes that are not UTF-8 become U+FFFD.
std::string JsonText(std::string_view text);

// Numbers are numbers, Null, Empty and objects are null; dates are texts in the form that `dateText` gives.
std::string JsonValue(const Value& value, std::string (*dateText)(Date));

}  // namespace iqrx::platform
