// Statement texts as data: "{name}" is a hole, "{{" and "}}" are literal braces.
#pragma once

#include <string_view>

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

}  // namespace iqrx::runtime
