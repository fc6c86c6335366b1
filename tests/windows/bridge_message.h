// The lines between the test's ADO classes, which are Windows programs, and the embedded database, which is
// not: a list of values a line, separated by tabs.
#pragma once

#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "platform/value.h"

namespace iqrx::testing {

using Message = std::vector<platform::Value>;

inline std::string Escaped(std::string_view text) {
    std::string escaped;
    for (const char c : text) {
        if (c == '\\')
            escaped += "\\\\";
        else if (c == '\t')
            escaped += "\\t";
        else if (c == '\n')
            escaped += "\\n";
        else if (c == '\r')
            escaped += "\\r";
        else
            escaped += c;
    }
    return escaped;
}

inline std::string Unescaped(std::string_view text) {
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\') {
            plain += text[i];
            continue;
        }
        const char c = text[++i];
        plain += c == 't' ? '\t' : c == 'n' ? '\n' : c == 'r' ? '\r' : c;
    }
    return plain;
}

inline std::string Encoded(const platform::Value& value) {
    using namespace platform;
    if (value.Is<Null>()) return "N";
    if (value.Is<Boolean>()) return value.As<Boolean>() ? "b1" : "b0";
    if (value.Is<Byte>()) return "l" + std::to_string(value.As<Byte>());
    if (value.Is<Integer>()) return "i" + std::to_string(value.As<Integer>());
    if (value.Is<Long>()) return "l" + std::to_string(value.As<Long>());
    if (value.Is<Date>()) return "D" + std::to_string(value.As<Date>().secondsSince1970);
    if (value.Is<std::string>()) return "s" + Escaped(value.As<std::string>());
    if (value.Is<Single>() || value.Is<Double>()) {
        char digits[40];
        std::snprintf(digits, sizeof digits, "d%.17g",
                      value.Is<Single>() ? value.As<Single>() : value.As<Double>());
        return digits;
    }
    return "E";
}

inline platform::Value Decoded(std::string_view cell) {
    using namespace platform;
    const std::string rest(cell.substr(cell.empty() ? 0 : 1));
    switch (cell.empty() ? 'E' : cell[0]) {
        case 'N':
            return Null{};
        case 'b':
            return rest == "1";
        case 'i':
            return static_cast<Integer>(std::atoi(rest.c_str()));
        case 'l':
            return static_cast<Long>(std::atol(rest.c_str()));
        case 'D':
            return Date{std::atoll(rest.c_str())};
        case 'd':
            return std::atof(rest.c_str());
        case 's':
            return Unescaped(rest);
        default:
            return Empty{};
    }
}

inline std::string Line(const Message& message) {
    std::string line;
    for (const auto& value : message) line += (line.empty() ? "" : "\t") + Encoded(value);
    return line + "\n";
}

inline Message Parsed(std::string_view line) {
    Message message;
    for (;;) {
        const auto tab = line.find('\t');
        message.push_back(Decoded(line.substr(0, tab)));
        if (tab == std::string_view::npos) return message;
        line.remove_prefix(tab + 1);
    }
}

}  // namespace iqrx::testing
