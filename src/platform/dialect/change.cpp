#include "platform/dialect/change.h"

#include <algorithm>

#include "platform/dialect/literals.h"
#include "platform/printable.h"
#include "platform/text.h"

namespace iqrx::platform::dialect {

namespace {

// The words of a text: names with their dots and quotes, and single other characters; literals are one word.
class Words {
public:
    explicit Words(std::string_view text) : rest_(text) {}

    std::string_view Next() {
        const auto begin = std::min(rest_.find_first_not_of(" \t\r\n"), rest_.size());
        rest_.remove_prefix(begin);
        std::size_t end = 0;
        while (end < rest_.size() && InName(rest_[end]))
            end = rest_[end] == '"' || rest_[end] == '[' ? AfterQuoted(end) : end + 1;
        if (end == 0 && !rest_.empty()) end = rest_[0] == '\'' ? AfterQuoted(0) : 1;
        const auto word = rest_.substr(0, end);
        rest_.remove_prefix(end);
        return word;
    }

    std::string_view Rest() const { return rest_; }
    // Passes over all words up to the given one; false when it does not come.
    bool Find(std::string_view wanted) {
        for (auto word = Next(); !word.empty(); word = Next())
            if (EqualIgnoringCase(word, wanted)) return true;
        return false;
    }

private:
    static bool InName(char c) { return IsWordCharacter(c) || c == '.' || c == '"' || c == '['; }
    std::size_t AfterQuoted(std::size_t open) const {
        const auto close = rest_.find(rest_[open] == '[' ? ']' : rest_[open], open + 1);
        return close == std::string_view::npos ? rest_.size() : close + 1;
    }

    std::string_view rest_;
};

// Without blanks before it, and cut where a reader has seen enough.
std::string Shown(std::string_view text) {
    constexpr std::size_t kEnough = 200;
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    return Printable(text, kEnough);
}

// The condition of an UPDATE.
std::string ConditionOf(Words words) { return words.Find("WHERE") ? Shown(words.Rest()) : std::string(); }

// The first value of an INSERT, with its column where the text names it.
std::string FirstValueOf(Words words) {
    std::string_view column;
    if (Words columns = words; columns.Next() == "(") column = columns.Next();
    if (!words.Find("VALUES") || words.Next() != "(") return {};
    const std::string_view values = words.Rest();
    std::string_view word = words.Next();
    while (!word.empty() && word != "," && word != ")") word = words.Next();
    const std::string_view first = values.substr(0, values.size() - words.Rest().size() - word.size());
    return std::string(column) + (column.empty() ? "" : " = ") + Shown(first);
}

}  // namespace

std::string TableOf(std::string_view select) {
    Words words(select);
    words.Find("FROM");
    const std::string_view table = words.Next();
    if (table.empty() || table == "(") return {};
    for (std::string_view word = words.Next(); !word.empty(); word = words.Next()) {
        if (word == "," || EqualIgnoringCase(word, "JOIN") || EqualIgnoringCase(word, "UNION")) return {};
        if (EqualIgnoringCase(word, "WHERE") || EqualIgnoringCase(word, "ORDER")) break;
    }
    return std::string(table);
}

Change ChangeOf(std::string_view sql) {
    Words words(sql);
    const auto verb = words.Next();
    const auto second = words.Next();
    const auto is = EqualIgnoringCase;
    if (is(verb, "SELECT")) return {Change::Kind::Nothing, {}};
    if (is(verb, "UPDATE") && !is(second, "STATISTICS")) return {Change::Kind::Rows, std::string(second)};
    if ((is(verb, "INSERT") && is(second, "INTO")) || (is(verb, "DELETE") && is(second, "FROM")))
        return {Change::Kind::Rows, std::string(words.Next())};
    if (IsBatch(sql)) return {Change::Kind::Rows, {}};
    return {};
}

bool IsBatch(std::string_view sql) {
    const auto verb = Words(sql).Next();
    return EqualIgnoringCase(verb, "DECLARE") || EqualIgnoringCase(verb, "BEGIN");
}

std::string PlaceOf(std::string_view sql) {
    Words words(sql);
    const bool isUpdate = EqualIgnoringCase(words.Next(), "UPDATE");
    const Change change = ChangeOf(sql);
    if (change.kind != Change::Kind::Rows || change.table.empty()) return {};
    if (!isUpdate) words.Next();  // INTO
    words.Next();
    const std::string row = isUpdate ? ConditionOf(words) : FirstValueOf(words);
    return "table " + change.table + (row.empty() ? "" : ", row " + row);
}

}  // namespace iqrx::platform::dialect
