#include "platform/ini_file.h"

#include <fstream>

#include "platform/text.h"

namespace iqrx::platform {

IniFile::IniFile(const std::filesystem::path& file) {
    std::ifstream stream(file);
    std::string line, section;
    for (bool first = true; std::getline(stream, line); first = false) {
        if (first && line.starts_with(kByteOrderMark)) line.erase(0, kByteOrderMark.size());
        const std::string_view text = Trim(line);
        if (text.empty() || text[0] == ';' || text[0] == '#') continue;
        if (text.front() == '[' && text.back() == ']') {
            section = Trim(text.substr(1, text.size() - 2));
            continue;
        }
        const auto equals = text.find('=');
        if (equals == std::string_view::npos) continue;
        entries_.push_back(
            {section, std::string(Trim(text.substr(0, equals))), std::string(Trim(text.substr(equals + 1)))});
    }
}

std::optional<std::string> IniFile::Find(std::string_view section, std::string_view key) const {
    for (const Entry& entry : entries_)
        if (EqualIgnoringCase(entry.section, section) && EqualIgnoringCase(entry.key, key))
            return entry.value;
    return std::nullopt;
}

}  // namespace iqrx::platform
