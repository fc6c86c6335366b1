#include "journal/database_id.h"

#include <array>
#include <sstream>
#include <system_error>

#include "platform/connection_string.h"
#include "platform/error.h"
#include "platform/text.h"

namespace iqrx::journal {

namespace {

namespace fs = std::filesystem;

struct Part {
    std::string_view key;
    std::string DatabaseId::*member;
};
constexpr std::array kParts{Part{"file", &DatabaseId::file}, Part{"server", &DatabaseId::server},
                            Part{"source", &DatabaseId::source}, Part{"name", &DatabaseId::name}};

// A server without what two writers of its name need not agree in: protocol, port and domain.
std::string BareServer(std::string_view server) {
    std::string bare = platform::Lower(platform::Trim(server));
    if (const auto protocol = bare.find(':'); protocol != std::string::npos) bare.erase(0, protocol + 1);
    bare.erase(std::min(bare.find(','), bare.size()));
    const bool isAddress = !bare.empty() && bare.front() >= '0' && bare.front() <= '9';
    const auto domain = bare.find('.');
    if (isAddress || domain == std::string::npos || domain == 0) return bare;
    return bare.erase(domain, std::min(bare.find('\\'), bare.size()) - domain);
}

bool Differ(const std::string& one, const std::string& other) {
    return !one.empty() && !other.empty() && platform::Lower(one) != platform::Lower(other);
}

std::string First(const platform::ConnectionString& keys, std::initializer_list<std::string_view> names) {
    for (const std::string_view name : names)
        if (const auto value = keys.Find(name); value && !value->empty()) return *value;
    return {};
}

std::string Whole(const std::string& file) {
    std::error_code unknown;
    const fs::path path = fs::weakly_canonical(fs::absolute(platform::Path(file), unknown), unknown);
    return unknown ? file : platform::Utf8(path);
}

}  // namespace

bool DatabaseId::MayBe(const DatabaseId& other) const {
    const bool isEmbedded = !file.empty(), isOtherEmbedded = !other.file.empty();
    if (isEmbedded || isOtherEmbedded) return file == other.file || !IsKnown() || !other.IsKnown();
    return !Differ(BareServer(server), BareServer(other.server)) && !Differ(source, other.source) &&
           !Differ(name, other.name);
}

bool DatabaseId::Owns(const fs::path& directory) const {
    return !file.empty() && Whole(platform::Utf8(directory)) == file + ".state";
}

std::string DatabaseId::Shown() const {
    std::string text;
    for (const Part& part : kParts)
        if (const std::string& value = this->*part.member; !value.empty())
            text += (text.empty() ? "" : " ") + value;
    return text;
}

std::string DatabaseId::Text() const {
    std::string text;
    for (const Part& part : kParts)
        if (const std::string& value = this->*part.member; !value.empty())
            text.append(part.key).append("=").append(value).append("\n");
    return text;
}

DatabaseId ReadDatabaseId(std::string_view text) {
    DatabaseId id;
    std::istringstream lines{std::string(text)};
    for (std::string line; std::getline(lines, line);)
        for (const Part& part : kParts)
            if (line.starts_with(std::string(part.key) + "="))
                id.*part.member = platform::Trim(std::string_view(line).substr(part.key.size() + 1));
    return id;
}

DatabaseId DatabaseIdOf(const std::string& connectionString, const std::string& database,
                        bool userIsSchema) try {
    const platform::ConnectionString keys(connectionString);
    if (platform::EqualIgnoringCase(keys.Find("Provider").value_or(""), "SQLite")) {
        const std::string file = keys.Find("Data Source").value_or("");
        return {.file = file.empty() ? "" : Whole(file)};
    }
    DatabaseId id{.server = First(keys, {"Server", "Servername", "Data Source", "Host", "Address"}),
                  .source = First(keys, {"DSN", "Service"}),
                  .name = database};
    if (id.name.empty()) id.name = First(keys, {"Database", "Initial Catalog", "DBQ"});
    if (id.name.empty() && userIsSchema) id.name = First(keys, {"User Id", "Uid", "User"});
    return id;
} catch (const platform::RuntimeError&) {
    return {};
}

}  // namespace iqrx::journal
