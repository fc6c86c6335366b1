// Statements in full sight: texts with holes in braces, cut by the compiler. "{name}" is a hole, "{{" and
// "}}" are literal braces.
#pragma once

#include <array>
#include <concepts>
#include <string_view>

#include "platform/fixed_list.h"
#include "platform/statement.h"

namespace iqrx::runtime {

// Not constexpr on purpose: a text that reaches one of these does not compile, and the name says why.
void StatementHasAnUnclosedBrace();
void StatementHasAStrayClosingBrace();
void StatementHasAnotherNumberOfHoles();

// The hole that the name of the statement's table fills.
inline constexpr std::string_view kTableHole = "table";

// The only parser: calls onText and onHole for the pieces of the text from left to right.
template <class OnText, class OnHole>
consteval void CutSql(std::string_view rest, OnText onText, OnHole onHole) {
    while (!rest.empty()) {
        const auto brace = rest.find_first_of("{}");
        if (brace != 0) onText(rest.substr(0, brace));
        if (brace == std::string_view::npos) return;
        rest.remove_prefix(brace);
        if (rest.starts_with("{{") || rest.starts_with("}}")) {
            onText(rest.substr(0, 1));
            rest.remove_prefix(2);
            continue;
        }
        if (rest.starts_with('}')) StatementHasAStrayClosingBrace();
        const auto close = rest.find('}');
        if (close == std::string_view::npos) StatementHasAnUnclosedBrace();
        onHole(rest.substr(1, close - 1));
        rest.remove_prefix(close + 1);
    }
}

// A statement with all its values; it converts to the port's.
template <std::size_t Holes>
struct FilledSql {
    platform::Shape shape;
    std::string_view table;  // borrowed
    std::array<platform::Literal, Holes> values;

    operator platform::Statement() const { return {shape, table, values}; }
};

// Values fill the holes in their order; the names in the braces are for the reader. "{table}" is filled by
// the name of the statement's table.
//     constexpr Sql<2> kStamp = "UPDATE tstables SET lutm  = {moment} WHERE tablename = {name}";
//     database.Execute(kStamp(moment, literals.QuoteSqlString(table)));
//     constexpr Sql<0> kMark = "UPDATE {table} SET upd_flag = 1 ";
//     database.Execute(kMark.On(table));
template <std::size_t Holes>
class Sql {
public:
    template <std::size_t N>
    consteval Sql(const char (&text)[N]) {
        using enum platform::Piece::Then;
        std::size_t holes = 0;
        CutSql(
            {text, N - 1},
            [&](std::string_view piece) {
                pieces_.Append({piece, Nothing});
            },
            [&](std::string_view hole) {
                const bool isTable = hole == kTableHole;
                if (!isTable) ++holes;
                pieces_.Append({{}, isTable ? Table : Value});
            });
        if (holes != Holes) StatementHasAnotherNumberOfHoles();
    }

    template <std::same_as<platform::Literal>... Values>
    requires(sizeof...(Values) == Holes) FilledSql<Holes>
    operator()(const Values&... values) const { return On({}, values...); }
    template <std::same_as<platform::Literal>... Values>
    requires(sizeof...(Values) == Holes) FilledSql<Holes> On(std::string_view table, const Values&... values)
    const { return {{{pieces_.data(), pieces_.size()}}, table, {values...}}; }

private:
    platform::FixedList<platform::Piece, 2 * Holes + 4, StatementHasAnotherNumberOfHoles> pieces_;
};

}  // namespace iqrx::runtime
