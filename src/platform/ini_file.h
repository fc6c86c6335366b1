// A settings file of the usual form: [section] lines, KEY=VALUE lines, comments that begin with ';' or '#'.
// Sections and keys are not case-sensitive; blanks around keys and values don't count. The first of two equal
// keys wins.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace iqrx::platform {

class IniFile {
public:
    // A file that is missing reads as an empty one.
    explicit IniFile(const std::filesystem::path& file);

    std::optional<std::string> Find(std::string_view section, std::string_view key) const;

private:
    struct Entry {
        std::string section, key, value;
    };
    std::vector<Entry> entries_;
};

}  // namespace iqrx::platform
