#include "qrxctl/schema_script.h"

#include <algorithm>
#include <fstream>
#include <sstream>

#include "platform/connection_string.h"
#include "platform/error.h"
#include "platform/printable.h"
#include "qrxctl/reading.h"

namespace iqrx::qrxctl {

namespace {

constexpr std::string_view kBlanks = " \t\r\n";

std::string_view TakeWord(std::string_view& text) {
    text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
    const std::string_view word = text.substr(0, text.find_first_of(" \t\r\n(,"));
    text.remove_prefix(word.size());
    return word;
}

bool TakeWord(std::string_view& text, std::string_view upperCase) {
    std::string_view rest = text;
    if (!platform::EqualIgnoringCase(TakeWord(rest), upperCase)) return false;
    text = rest;
    return true;
}

// From the opening parenthesis to its partner, both included; all of the text where there is none.
std::string_view InParentheses(std::string_view text) {
    int depth = 0;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text[at] == '(') ++depth;
        if (text[at] == ')' && --depth == 0) return text.substr(0, at + 1);
    }
    return text;
}

// What stands between commas; those in parentheses do not count.
std::vector<std::string_view> Items(std::string_view list) {
    std::vector<std::string_view> items;
    std::size_t begin = 0;
    int depth = 0;
    for (std::size_t at = 0; at <= list.size(); ++at) {
        if (at == list.size() || (list[at] == ',' && depth == 0)) {
            items.push_back(platform::Trim(list.substr(begin, at - begin)));
            begin = at + 1;
        } else if (list[at] == '(') {
            ++depth;
        } else if (list[at] == ')') {
            --depth;
        }
    }
    return items;
}

std::string_view Inside(std::string_view parentheses) {
    return parentheses.size() < 2 ? std::string_view() : parentheses.substr(1, parentheses.size() - 2);
}

void AddItem(TableText& table, std::string_view item) {
    std::string_view rest = item;
    if (TakeWord(rest, "CONSTRAINT")) TakeWord(rest);
    if (TakeWord(rest, "PRIMARY") && TakeWord(rest, "KEY")) {
        for (const std::string_view column : Items(Inside(InParentheses(platform::Trim(rest)))))
            table.key.emplace_back(column);
        return;
    }
    rest = item;
    const std::string_view name = TakeWord(rest), type = TakeWord(rest);
    table.columns.push_back({std::string(name), platform::Upper(type)});
}

// A script without the lines that are comments.
std::string WithoutComments(std::string_view script) {
    std::string text;
    while (!script.empty()) {
        const std::string_view line = script.substr(0, std::min(script.find('\n'), script.size() - 1) + 1);
        if (!platform::Trim(line).starts_with("--")) text += line;
        script.remove_prefix(line.size());
    }
    return text;
}

}  // namespace

std::vector<TableText> TablesOf(std::string_view script) {
    constexpr std::string_view kCreate = "CREATE TABLE ";
    const std::string text = WithoutComments(script);
    std::string_view rest = text;
    std::vector<TableText> tables;
    for (auto at = rest.find(kCreate); at != std::string_view::npos; at = rest.find(kCreate)) {
        rest.remove_prefix(at);
        TableText table;
        // Oracle's statements stand in quotes.
        table.statement = rest.substr(0, rest.find_first_of(";'"));
        std::string_view body = std::string_view(table.statement).substr(kCreate.size());
        if (TakeWord(body, "IF")) {
            TakeWord(body, "NOT");
            TakeWord(body, "EXISTS");
        }
        table.name = platform::Trim(TakeWord(body), "\"[]`");
        body = platform::Trim(body);
        for (const std::string_view item : Items(Inside(InParentheses(body)))) AddItem(table, item);
        tables.push_back(std::move(table));
        rest.remove_prefix(kCreate.size());
    }
    return tables;
}

const TableText* FindTable(std::span<const TableText> tables, std::string_view name) {
    const auto found = std::ranges::find_if(
        tables, [&](const TableText& table) { return platform::EqualIgnoringCase(table.name, name); });
    return found == tables.end() ? nullptr : &*found;
}

std::filesystem::path ScriptOf(const Options& options, const std::filesystem::path& schemaFolder) {
    if (IsEmbedded(options)) return schemaFolder / "sqlite.sql";
    if (IsPostgres(options)) return schemaFolder / "postgresql.sql";
    return schemaFolder / (PlatformNumber(options) == runtime::kOracle ? "oracle.sql" : "sqlserver.sql");
}

std::string ReadScript(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    if (!stream) platform::RaiseRuntimeError(platform::kFileNotFound, platform::Shown(file));
    std::ostringstream text;
    text << stream.rdbuf();
    return text.str();
}

}  // namespace iqrx::qrxctl
