#include "platform/ini_file.h"

#include <fstream>

#include "platform/connection_string.h"

namespace iqrx::platform {

namespace {

std::string Trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(" \t\r");
    if (first == std::string_view::npos) return {};
    return std::string(text.substr(first, text.find_last_not_of(" \t\r") - first + 1));
}

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

}  // namespace

IniFile::IniFile(const std::filesystem::path& file) {
    std::ifstream stream(file);
    std::string line, section;
    for (bool first = true; std::getline(stream, line); first = false) {
        if (first && line.starts_with(kByteOrderMark)) line.erase(0, kByteOrderMark.size());
        const std::string text = Trimmed(line);
        if (text.empty() || text[0] == ';' || text[0] == '#') continue;
        if (text.front() == '[' && text.back() == ']') {
            section = Trimmed(std::string_view(text).substr(1, text.size() - 2));
            continue;
        }
        const auto equals = text.find('=');
        if (equals == std::string::npos) continue;
        entries_.push_back({section, Trimmed(std::string_view(text).substr(0, equals)),
                            Trimmed(std::string_view(text).substr(equals + 1))});
    }
}

std::optional<std::string> IniFile::Find(std::string_view section, std::string_view key) const {
    for (const Entry& entry : entries_)
        if (EqualIgnoringCase(entry.section, section) && EqualIgnoringCase(entry.key, key))
            return entry.value;
    return std::nullopt;
}

}  // namespace iqrx::platform
