#include "journal/run_entry.h"

#include <nlohmann/json.hpp>

#include "journal/flat_json.h"

namespace iqrx::journal {

namespace {

constexpr std::int64_t kSchema = 1;

struct TextMember {
    std::string_view key;
    std::string RunEntry::*member;
};
constexpr TextMember kTexts[] = {
    {"run", &RunEntry::run},         {"table", &RunEntry::table}, {"method", &RunEntry::method},
    {"program", &RunEntry::program}, {"by", &RunEntry::by},       {"outcome", &RunEntry::outcome},
    {"cause", &RunEntry::cause},     {"began", &RunEntry::began}, {"ended", &RunEntry::ended}};

struct CountMember {
    std::string_view key;
    std::optional<std::int64_t> RunEntry::*member;
};
constexpr CountMember kCounts[] = {
    {"copied", &RunEntry::copied}, {"removed", &RunEntry::removed}, {"rows", &RunEntry::rows}};

void Set(RunEntry& entry, std::string_view key, std::string_view value) {
    for (const TextMember& text : kTexts)
        if (text.key == key) {
            (entry.*text.member).assign(value);
            return;
        }
}

void Set(RunEntry& entry, std::string_view key, std::int64_t value) {
    for (const CountMember& count : kCounts)
        if (count.key == key) entry.*count.member = value;
    if (key == "seconds") entry.seconds = static_cast<double>(value);
}

}  // namespace

std::string LineOf(const RunEntry& entry) {
    nlohmann::ordered_json line;
    line["schema"] = kSchema;
    for (const TextMember& text : kTexts) line[std::string(text.key)] = entry.*text.member;
    for (const CountMember& count : kCounts) {
        auto& value = line[std::string(count.key)];
        if (entry.*count.member) value = *(entry.*count.member);
    }
    line["seconds"] = entry.seconds;
    return line.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + '\n';
}

bool ReadEntry(std::string_view line, RunEntry& entry) {
    for (const TextMember& text : kTexts) (entry.*text.member).clear();
    for (const CountMember& count : kCounts) (entry.*count.member).reset();
    entry.seconds = 0;
    bool known = false;
    const bool whole = ReadObject(line, [&](std::string_view key, const Scalar& value) {
        if (const auto* text = std::get_if<std::string_view>(&value)) return Set(entry, key, *text);
        if (const auto* real = std::get_if<double>(&value); real != nullptr && key == "seconds")
            entry.seconds = *real;
        if (const auto* number = std::get_if<std::int64_t>(&value)) {
            if (key == "schema") known = *number == kSchema;
            Set(entry, key, *number);
        }
    });
    return whole && known && !entry.run.empty() && !entry.table.empty();
}

}  // namespace iqrx::journal
