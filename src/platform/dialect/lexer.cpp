#include "platform/dialect/lexer.h"

#include "platform/text.h"

namespace iqrx::platform::dialect {

namespace {

constexpr std::string_view kSymbols = "(),=<>.*;+-!";

std::size_t SymbolSize(std::string_view text, std::size_t place) {
    const std::string_view two = text.substr(place, 2);
    return two == "<>" || two == "<=" || two == ">=" || two == "!=" ? 2 : 1;
}

bool IsWord(const Token& token, std::string_view upperCase) {
    return token.kind == Token::Kind::Word && EqualIgnoringCase(token.text, upperCase);
}

// Where the words of the language stand instead of a value: "IS NULL", "NOT NULL"; and a column after a dot.
bool CannotBeLiteral(const Token& previous, char first) {
    if (first == 'N' || first == 'n') return IsWord(previous, "IS") || IsWord(previous, "NOT");
    return first == '.' && previous.kind == Token::Kind::Word;
}

}  // namespace

std::vector<Token> Tokenize(std::string_view statement, Literals& literals) {
    std::vector<Token> tokens;
    Token previous;
    literals.Start(statement);
    Cursor at(statement);
    for (at.PassBlanks(); !at.AtEnd(); at.PassBlanks()) {
        const std::size_t begin = at.Place();
        Token::Kind kind = Token::Kind::Literal;
        if (CannotBeLiteral(previous, at.Peek()) || !literals.Scan(at)) {
            if (IsWordCharacter(at.Peek())) {
                kind = Token::Kind::Word;
                while (!at.AtEnd() && IsWordCharacter(at.Peek())) at.Pass();
            } else if (kSymbols.find(at.Peek()) != std::string_view::npos) {
                kind = Token::Kind::Symbol;
                at.Pass(SymbolSize(statement, begin));
            } else {
                RaiseSyntaxError(literals.Of(), statement, begin, "Unexpected character");
            }
        }
        previous = {kind, at.From(begin), begin};
        tokens.push_back(previous);
    }
    tokens.push_back({Token::Kind::End, {}, statement.size()});
    return tokens;
}

std::string ShapeOf(std::string_view statement, const std::vector<Token>& tokens) {
    constexpr char kMark = '\0';  // stands in no text outside of literals
    std::string shape;
    std::size_t begin = 0;
    for (const Token& token : tokens) {
        if (token.kind != Token::Kind::Literal) continue;
        shape.append(statement, begin, token.place - begin).push_back(kMark);
        begin = token.place + token.text.size();
    }
    return shape.append(statement, begin);
}

}  // namespace iqrx::platform::dialect
