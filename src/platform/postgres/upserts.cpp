#include "platform/postgres/upserts.h"

#include <algorithm>
#include <charconv>
#include <initializer_list>
#include <iterator>
#include <string_view>
#include <utility>

#include "platform/postgres/types.h"
#include "platform/text.h"

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

// The words of a statement, which a translation parts by blanks.
class Words {
public:
    explicit Words(std::string_view text) : rest_(text) {}

    std::string_view Next() {
        const std::size_t end = std::min(rest_.find(' '), rest_.size());
        const std::string_view word = rest_.substr(0, end);
        rest_.remove_prefix(std::min(end + 1, rest_.size()));
        return word;
    }
    bool Skip(std::initializer_list<std::string_view> expected) {
        return std::ranges::all_of(expected, [&](std::string_view word) { return Next() == word; });
    }
    bool AtEnd() const { return rest_.empty(); }

private:
    std::string_view rest_;
};

struct Parts {
    std::string table;
    std::vector<std::string> set, key, inserted;  // columns, each of which has a place for its value
};

// "a = $1 , b = $2" up to the word that ends it, which is the last one taken; none at the end of the text.
std::optional<std::string_view> TakeEquations(Words& words, std::vector<std::string>& columns,
                                              std::string_view separator) {
    for (;;) {
        columns.push_back(Lower(words.Next()));
        if (!words.Skip({"="}) || !words.Next().starts_with('$')) return std::nullopt;
        const std::string_view after = words.Next();
        if (after != separator) return after;
    }
}

// "( a , b )", or as many places.
bool TakeList(Words& words, std::vector<std::string>& entries) {
    if (!words.Skip({"("})) return false;
    for (;;) {
        entries.push_back(Lower(words.Next()));
        const std::string_view after = words.Next();
        if (after != ",") return after == ")";
    }
}

std::optional<Parts> PartsOf(const dialect::Translation& update, const dialect::Translation& insert) {
    if (!IsSimple(update, "UPDATE ") || !IsSimple(insert, "INSERT INTO ")) return std::nullopt;
    Parts parts;
    Words change(update.statements.front()), addition(insert.statements.front());
    std::vector<std::string> places;
    change.Skip({"UPDATE"});
    parts.table = change.Next();
    const bool isRead = change.Skip({"SET"}) && TakeEquations(change, parts.set, ",") == "WHERE" &&
                        TakeEquations(change, parts.key, "AND") == "" &&
                        addition.Skip({"INSERT", "INTO", parts.table}) && TakeList(addition, parts.inserted) &&
                        addition.Skip({"VALUES"}) && TakeList(addition, places) && addition.AtEnd();
    const auto isPlace = [](const std::string& place) { return place.starts_with('$'); };
    if (!isRead || parts.inserted.size() != places.size() || !std::ranges::all_of(places, isPlace))
        return std::nullopt;
    return parts;
}

std::size_t NumberOf(std::vector<Column>& columns, const std::string& name) {
    const auto found = std::ranges::find(columns, name, &Column::name);
    if (found == columns.end()) columns.push_back({name, {}});
    return static_cast<std::size_t>(std::ranges::find(columns, name, &Column::name) - columns.begin());
}

std::string Numbered(std::size_t column) { return "\"" + std::to_string(column) + "\""; }

// As a cast to it reads a text that has no other length than its own.
std::string_view NameOf(Oid type) {
    static constexpr std::pair<Oid, std::string_view> kNames[] = {{kBoolean, "bool"},
                                                                  {kWhole2, "int2"},
                                                                  {kWhole4, "int4"},
                                                                  {kWhole8, "int8"},
                                                                  {kReal4, "float4"},
                                                                  {kReal8, "float8"},
                                                                  {kNumeric, "numeric"},
                                                                  {kText, "text"},
                                                                  {kVaryingText, "text"},
                                                                  {kFixedText, "bpchar"},
                                                                  {kDay, "date"},
                                                                  {kMoment, "timestamp"},
                                                                  {kMomentWithZone, "timestamptz"}};
    const auto found = std::ranges::find(kNames, type, &std::pair<Oid, std::string_view>::first);
    return found == std::end(kNames) ? "" : found->second;
}

// Of all its places; empty when there is none.
std::string_view TypeOf(const Column& column, const std::vector<Oid>& types) {
    const std::string_view name = NameOf(types[column.places.front()]);
    const bool isOne =
        std::ranges::all_of(column.places, [&](std::size_t place) { return NameOf(types[place]) == name; });
    return isOne ? name : "";
}

template <class Shown>
std::string Joined(const std::vector<std::string>& names, std::string_view separator, Shown shown) {
    std::string list;
    for (const std::string& name : names) list.append(list.empty() ? "" : separator).append(shown(name));
    return list;
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

std::optional<std::vector<Column>> ColumnsOf(const dialect::Translation& update,
                                             const dialect::Translation& insert) {
    const auto parts = PartsOf(update, insert);
    if (!parts) return std::nullopt;
    std::vector<Column> columns;
    std::size_t place = 0;
    const auto note = [&](const std::vector<std::string>& names, bool isKey) {
        for (const std::string& name : names) {
            Column& column = columns[NumberOf(columns, name)];
            column.places.push_back(place++);
            column.isKey = column.isKey || isKey;
        }
    };
    note(parts->set, false);
    note(parts->key, true);
    note(parts->inserted, false);
    return columns;
}

std::optional<std::string> UpsertOfMany(const dialect::Translation& update, const dialect::Translation& insert,
                                        const std::vector<Column>& columns, const std::vector<Oid>& types) {
    const Parts parts = PartsOf(update, insert).value();
    const auto value = [&](const std::string& name) {
        const auto column = std::ranges::find(columns, name, &Column::name);
        return "s." + Numbered(static_cast<std::size_t>(column - columns.begin()));
    };
    const auto equation = [&](const std::string& name) { return name + " = " + value(name); };
    const auto itself = [](const std::string& name) { return name; };
    std::string typed, arrays, numbers;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        const std::string_view type = TypeOf(columns[i], types);
        if (type.empty()) return std::nullopt;
        typed += Numbered(i) + "::" + std::string(type) + " AS " + Numbered(i) + ", ";
        arrays += (i > 0 ? ", $" : "$") + std::to_string(i + 1);
        numbers += Numbered(i) + ", ";
    }
    return "WITH s AS (SELECT " + typed + "\"row\" FROM unnest(" + arrays + ") WITH ORDINALITY AS a(" +
           numbers + "\"row\")), u AS (UPDATE " + parts.table + " SET " + Joined(parts.set, ", ", equation) +
           " FROM s WHERE " + Joined(parts.key, " AND ", equation) +
           " RETURNING s.\"row\"), i AS (INSERT INTO " + parts.table + " (" +
           Joined(parts.inserted, ", ", itself) + ") SELECT " + Joined(parts.inserted, ", ", value) +
           " FROM s WHERE s.\"row\" NOT IN (SELECT u.\"row\" FROM u) RETURNING 1)"
           " SELECT (SELECT array_agg(u.\"row\") FROM u),"
           " 1 / ((SELECT count(*) FROM u) + (SELECT count(*) FROM i) = cardinality($1))::int";
}

std::shared_ptr<PreparedUpsert> Upserts::Find(const Kept& update, const Kept& insert) const {
    const auto found = std::ranges::find_if(
        known_, [&](const auto& one) { return one->update == update && one->insert == insert; });
    return found == known_.end() ? nullptr : *found;
}

std::shared_ptr<PreparedUpsert> Upserts::Keep(PreparedUpsert upsert) {
    constexpr std::size_t kMost = 32;
    if (known_.size() == kMost) known_.clear();
    return known_.emplace_back(std::make_shared<PreparedUpsert>(std::move(upsert)));
}

}  // namespace iqrx::platform::postgres
