#include "platform/postgres/upserts.h"

#include <algorithm>
#include <charconv>
#include <string_view>

namespace iqrx::platform::postgres {

namespace {

bool IsSimple(const dialect::Translation& translation, std::string_view beginning) {
    return translation.steps.size() == 1 && translation.statements.size() == 1 &&
           translation.tables.size() == 1 && translation.statements.front().starts_with(beginning);
}

// "$1 , $2": the same places, after so many others.
std::string After(std::size_t others, std::string_view places) {
    std::string moved;
    while (!places.empty()) {
        const std::size_t place = std::min(places.find('$'), places.size());
        moved += places.substr(0, place);
        places.remove_prefix(place);
        if (places.empty()) break;
        places.remove_prefix(1);
        std::size_t number = 0;
        const char* const end = std::from_chars(places.data(), places.data() + places.size(), number).ptr;
        places.remove_prefix(static_cast<std::size_t>(end - places.data()));
        moved += "$" + std::to_string(number + others);
    }
    return moved;
}

}  // namespace

std::optional<std::string> UpsertOf(const dialect::Translation& update, const dialect::Translation& insert) {
    constexpr std::string_view kValues = " VALUES ( ", kEnd = " )";
    if (!IsSimple(update, "UPDATE ") || !IsSimple(insert, "INSERT INTO ") || update.tables != insert.tables)
        return std::nullopt;
    const std::string_view into = insert.statements.front();
    const std::size_t values = into.find(kValues);
    if (values == std::string_view::npos || !into.ends_with(kEnd)) return std::nullopt;
    std::string_view places = into.substr(values + kValues.size());
    places.remove_suffix(kEnd.size());
    return "WITH u AS (" + update.statements.front() + " RETURNING 1), i AS (" +
           std::string(into.substr(0, values)) + " SELECT " + After(update.steps.front().literalCount, places) +
           " WHERE NOT EXISTS (SELECT FROM u) RETURNING 1)"
           " SELECT (SELECT count(*) FROM u), (SELECT count(*) FROM i)";
}

const Upserts::Pair* Upserts::Find(const Kept& update, const Kept& insert) const {
    const auto found = std::ranges::find_if(
        pairs_, [&](const Pair& pair) { return pair.update == update && pair.insert == insert; });
    return found == pairs_.end() ? nullptr : &*found;
}

const Upserts::Pair& Upserts::Keep(Pair pair) {
    constexpr std::size_t kMost = 32;
    if (pairs_.size() == kMost) pairs_.clear();
    return pairs_.emplace_back(std::move(pair));
}

}  // namespace iqrx::platform::postgres
