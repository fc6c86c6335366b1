// Statement texts as data: "{name}" is a hole, "{{" and "}}" are literal braces.
#pragma once

#include <string_view>

namespace iqrx::engine {

// Not constexpr on purpose: a text that reaches one of these does not compile, and the name says why.
void StatementHasAnUnclosedBrace();
void StatementHasAStrayClosingBrace();
void StatementNamesAnUnknownColumn();
void NoStatementUsesThisColumn();

class SqlTemplate {
public:
    constexpr SqlTemplate() = default;
    template <std::size_t N>
    consteval SqlTemplate(const char (&text)[N]) : text_(text, N - 1) {
        Walk([](std::string_view) {}, [](std::string_view) {});
    }

    constexpr bool empty() const { return text_.empty(); }

    // The only parser: calls onText and onHole for the pieces of the text from left to right.
    template <class OnText, class OnHole>
    constexpr void Walk(OnText onText, OnHole onHole) const {
        std::string_view rest = text_;
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

private:
    std::string_view text_;
};

}  // namespace iqrx::engine
