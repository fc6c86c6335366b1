// Connection strings: KEY=VALUE pairs separated by semicolons; keys are not case-sensitive, a value may stand
// in double quotes or braces, the closing mark doubled where the value holds it.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace iqrx::platform {

class ConnectionString {
public:
    // Raises RuntimeError that names the place when the text is no such list.
    explicit ConnectionString(std::string_view text);

    std::optional<std::string> Find(std::string_view key) const;
    bool Has(std::string_view key) const { return Find(key).has_value(); }
    void Remove(std::string_view key);

    // The pairs in their order, as a driver takes them: values that need it stand in braces.
    std::string Text() const;

private:
    std::vector<std::pair<std::string, std::string>> pairs_;
};

bool EqualIgnoringCase(std::string_view left, std::string_view right);  // ASCII letters

}  // namespace iqrx::platform
