#include "platform/connection_string.h"

#include <algorithm>
#include <array>

#include "platform/error.h"
#include "platform/number.h"

namespace iqrx::platform {

namespace {

constexpr std::string_view kBlanks = " \t";

std::string_view Trimmed(std::string_view text) { return Trim(text, kBlanks); }

std::size_t AfterBlanks(std::string_view text, std::size_t position) {
    return std::min(text.find_first_not_of(kBlanks, position), text.size());
}

bool IsClosedValue(std::string_view text, std::size_t begin) {
    return begin < text.size() && (text[begin] == '"' || text[begin] == '{');
}

// Where a value in quotes or braces ends, after its closing mark; nothing when it has none. Two closing marks
// are one that belongs to the value.
std::optional<std::size_t> EndOfClosedValue(std::string_view text, std::size_t begin) {
    const char close = text[begin] == '"' ? '"' : '}';
    for (std::size_t at = begin + 1; at < text.size(); ++at) {
        if (text[at] != close) continue;
        if (at + 1 == text.size() || text[at + 1] != close) return at + 1;
        ++at;
    }
    return std::nullopt;
}

std::string ValueOf(std::string_view closed) {
    const char close = closed.back();
    std::string value;
    for (std::size_t at = 1; at + 1 < closed.size(); ++at) {
        value += closed[at];
        if (closed[at] == close) ++at;
    }
    return value;
}

std::string Place(std::string_view text, std::size_t position) {
    const auto before = text.substr(0, position);
    const auto characters = std::ranges::count_if(before, [](char c) { return (c & 0xC0) != 0x80; });
    return "character " + std::to_string(characters + 1);
}

// Keys that may follow a password. Any other may be a part of it that holds a semicolon.
constexpr std::string_view kKnownKeys =
    ";access token;accesstoken;address;app;application name;clientcharset;commit interval;commlog;connect timeout;"
    "data source;database;dbq;driver;dsn;encrypt;encryption;host;initial catalog;integrated security;mars_connection;"
    "multipleactiveresultsets;new password;password;persist security info;port;provider;pwd;rows per trip;server;servername;"
    "service;sslmode;sslrootcert;tds_version;timeout;trusted_connection;trustservercertificate;uid;user;user id;username;wsid;";

bool IsKnown(std::string_view key) {
    return kKnownKeys.find(';' + Lower(key) + ';') != std::string_view::npos;
}

// A key that nobody knows may be a part of a password.
std::string OfKey(std::string_view key) { return IsKnown(key) ? " of " + std::string(key) : std::string(); }

[[noreturn]] void Refuse(const std::string& what) {
    RaiseRuntimeError(kInvalidProcedureCall, "connection string, " + what);
}

}  // namespace

ConnectionString::ConnectionString(std::string_view text) {
    std::size_t position = 0;
    while ((position = text.find_first_not_of("; \t", position)) != std::string_view::npos) {
        const auto equals = text.find_first_of("=;", position);
        if (equals == std::string_view::npos || text[equals] == ';')
            Refuse("KEY=VALUE expected at " + Place(text, position));
        const std::string_view key = Trimmed(text.substr(position, equals - position));
        const auto begin = AfterBlanks(text, equals + 1);
        if (!IsClosedValue(text, begin)) {
            position = std::min(text.find(';', begin), text.size());
            pairs_.push_back({std::string(key), std::string(Trimmed(text.substr(begin, position - begin)))});
            continue;
        }
        const auto end = EndOfClosedValue(text, begin);
        if (!end)
            Refuse("the value" + OfKey(key) + " that begins at " + Place(text, begin) + " is not closed");
        pairs_.push_back({std::string(key), ValueOf(text.substr(begin, *end - begin)), true});
        position = AfterBlanks(text, *end);
        if (position < text.size() && text[position] != ';')
            Refuse("text after the closed value" + OfKey(key) + " at " + Place(text, position));
    }
}

std::optional<std::string> ConnectionString::Find(std::string_view key) const {
    const auto found =
        std::ranges::find_if(pairs_, [&](const Pair& pair) { return EqualIgnoringCase(pair.key, key); });
    if (found == pairs_.end()) return std::nullopt;
    return found->value;
}

std::vector<std::string> ConnectionString::Keys() const {
    std::vector<std::string> keys;
    for (const Pair& pair : pairs_) keys.push_back(pair.key);
    return keys;
}

std::string ConnectionString::Text() const {
    std::string text;
    for (const auto& [key, value, closed] : pairs_) {
        text += key + '=';
        if (!closed && value.find_first_of(";{}") == std::string::npos) {
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

std::optional<int> WholeNumber(std::string_view value, int least, int most) {
    const auto number = NumberFrom<int>(value);
    return number && *number >= least && *number <= most ? number : std::nullopt;
}

int RowsPerTrip(std::string_view value) {
    if (const auto rows = WholeNumber(value, 1, 10000)) return *rows;
    RaiseRuntimeError(kInvalidProcedureCall,
                      "the value of Rows per Trip is not a whole number from 1 to 10000");
}

namespace {

constexpr std::string_view kNextArgument = "{}";  // of a command line

bool NamesASecret(std::string_view key) {
    constexpr std::array<std::string_view, 4> kWords{"pwd", "pass", "secret", "token"};
    const std::string lower = Lower(key);
    return lower == "pw" ||
           std::ranges::any_of(kWords, [&](auto word) { return lower.find(word) != std::string::npos; });
}

std::string_view KeyBefore(std::string_view text, std::size_t equals) {
    const auto before = text.substr(0, equals);
    const auto delimiter = before.find_last_of("=;{}\"\r\n");
    return Trimmed(delimiter == std::string_view::npos ? before : before.substr(delimiter + 1));
}

// Where the value ends; nothing when that is in doubt.
std::optional<std::size_t> EndOfValue(std::string_view text, std::size_t begin) {
    begin = AfterBlanks(text, begin);
    if (IsClosedValue(text, begin) && !text.substr(begin).starts_with(kNextArgument)) {
        const auto end = EndOfClosedValue(text, begin);
        return end ? std::optional(AfterBlanks(text, *end)) : std::nullopt;
    }
    return std::min({text.find(';', begin), text.find(kNextArgument, begin), text.size()});
}

// Whether the arguments of a request follow: a database, and then the number of a table.
bool ArgumentsFollow(std::string_view rest) {
    if (!rest.starts_with(kNextArgument)) return false;
    rest.remove_prefix(kNextArgument.size());
    const auto end = rest.find(kNextArgument);
    if (end == std::string_view::npos || rest.substr(0, end).find_first_of(";=") != std::string_view::npos)
        return false;
    rest.remove_prefix(end + kNextArgument.size());
    const auto number = Trimmed(rest.substr(0, rest.find(kNextArgument)));
    return !number.empty() && std::ranges::all_of(number, IsDigit);
}

// Whether what follows a secret is all of it readable, so that no part of the secret can be in it.
bool IsReadable(std::string_view rest) {
    while (!rest.empty() && !ArgumentsFollow(rest)) {
        if (rest.front() != ';') return false;
        rest.remove_prefix(AfterBlanks(rest, 1));
        if (rest.empty() || rest.front() == ';') continue;
        const auto equals = rest.find('=');
        if (equals == std::string_view::npos) return false;
        const auto key = Trimmed(rest.substr(0, equals));
        if (!IsKnown(key)) return false;
        if (NamesASecret(key)) return true;  // the next to be looked at
        const auto end = EndOfValue(rest, equals + 1);
        if (!end) return false;
        rest.remove_prefix(*end);
    }
    return true;
}

}  // namespace

std::string Masked(std::string_view text) {
    std::string masked;
    std::size_t shown = 0, equals = 0;
    for (std::size_t from = 0; (equals = text.find('=', from)) != std::string_view::npos;) {
        from = equals + 1;
        if (!NamesASecret(KeyBefore(text, equals))) continue;
        masked.append(text.substr(shown, from - shown)).append("***");
        const auto end = EndOfValue(text, from);
        if (!end || !IsReadable(text.substr(*end))) return masked;
        shown = from = *end;
    }
    return masked.append(text.substr(shown));
}

}  // namespace iqrx::platform
