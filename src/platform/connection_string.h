// Connection strings: KEY=VALUE pairs separated by semicolons; keys are not case-sensitive, a value may stand
// in double quotes or braces, the closing mark doubled where the value holds it.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/text.h"

namespace iqrx::platform {

class ConnectionString {
public:
    // Raises RuntimeError when the text is not such a list. It names the key or the place and never the text,
    // which may be part of a password.
    explicit ConnectionString(std::string_view text);

    std::optional<std::string> Find(std::string_view key) const;
    bool Has(std::string_view key) const { return Find(key).has_value(); }
    std::vector<std::string> Keys() const;  // in their order
    // PostgreSQL where Service= stands without one.
    std::string Provider() const { return Find("Provider").value_or(Has("Service") ? "PostgreSQL" : ""); }
    void Remove(std::string_view key) {
        std::erase_if(pairs_, [&](const Pair& pair) { return EqualIgnoringCase(pair.key, key); });
    }

    // The pairs in their order, as a driver takes them: values that need it, or that stood in quotes or
    // braces, stand in braces.
    std::string Text() const;

private:
    struct Pair {
        std::string key, value;
        bool closed = false;  // it stood in quotes or braces
    };
    std::vector<Pair> pairs_;
};

// A value as a whole number from `least` to `most`; nothing when it is none.
std::optional<int> WholeNumber(std::string_view value, int least, int most);

// The value of Rows per Trip, which every adapter that has it reads in the same way: from 1 to 10000. Raises
// RuntimeError when it is none.
int RowsPerTrip(std::string_view value);

// The text, a connection string or the arguments of a command line, with *** in the place of its passwords.
// It need not be one that can be read: where the end of a password is in doubt, nothing after it is shown.
std::string Masked(std::string_view text);

}  // namespace iqrx::platform
