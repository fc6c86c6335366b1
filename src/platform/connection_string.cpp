#include "platform/connection_string.h"

#include <algorithm>

#include "platform/error.h"

namespace iqrx::platform {

namespace {

std::string Trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos) return {};
    return std::string(text.substr(first, text.find_last_not_of(" \t") - first + 1));
}

// Reads the value at `position` and leaves it behind the value's end, which is a semicolon or the end of the
// text.
std::string ReadValue(std::string_view text, std::size_t& position) {
    position = std::min(text.find_first_not_of(" \t", position), text.size());
    if (position == text.size() || (text[position] != '"' && text[position] != '{')) {
        const auto begin = position;
        position = std::min(text.find(';', begin), text.size());
        return Trimmed(text.substr(begin, position - begin));
    }
    const auto begin = position;
    const char close = text[position] == '"' ? '"' : '}';
    std::string value;
    for (++position; position < text.size(); ++position) {
        if (text[position] != close)
            value += text[position];
        else if (position + 1 < text.size() && text[position + 1] == close)
            value += text[position++];
        else
            break;
    }
    if (position == text.size())
        RaiseRuntimeError(kInvalidProcedureCall, "connection string, a value is not closed at \"" +
                                                     std::string(text.substr(begin, 20)) + "\"");
    position = std::min(text.find_first_not_of(" \t", position + 1), text.size());
    if (position < text.size() && text[position] != ';')
        RaiseRuntimeError(kInvalidProcedureCall, "connection string, text behind a closed value at \"" +
                                                     std::string(text.substr(position, 20)) + "\"");
    return value;
}

}  // namespace

bool EqualIgnoringCase(std::string_view left, std::string_view right) {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; };
    return std::ranges::equal(left, right, {}, lower, lower);
}

ConnectionString::ConnectionString(std::string_view text) {
    std::size_t position = 0;
    while ((position = text.find_first_not_of("; \t", position)) != std::string_view::npos) {
        const auto equals = text.find_first_of("=;", position);
        if (equals == std::string_view::npos || text[equals] == ';')
            RaiseRuntimeError(kInvalidProcedureCall,
                              "connection string, KEY=VALUE expected at \"" +
                                  std::string(text.substr(position, equals - position)) + "\"");
        std::string key = Trimmed(text.substr(position, equals - position));
        position = equals + 1;
        pairs_.emplace_back(std::move(key), ReadValue(text, position));
    }
}

std::optional<std::string> ConnectionString::Find(std::string_view key) const {
    const auto found =
        std::ranges::find_if(pairs_, [&](const auto& pair) { return EqualIgnoringCase(pair.first, key); });
    if (found == pairs_.end()) return std::nullopt;
    return found->second;
}

void ConnectionString::Remove(std::string_view key) {
    std::erase_if(pairs_, [&](const auto& pair) { return EqualIgnoringCase(pair.first, key); });
}

std::string ConnectionString::Text() const {
    std::string text;
    for (const auto& [key, value] : pairs_) {
        text += key + '=';
        if (value.find_first_of(";{}") == std::string::npos) {
            text += value;
        } else {
            text += '{';
            for (char c : value) text += c == '}' ? "}}" : std::string(1, c);
            text += '}';
        }
        text += ';';
    }
    return text;
}

}  // namespace iqrx::platform
