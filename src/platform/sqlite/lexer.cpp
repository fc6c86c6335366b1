#include "platform/sqlite/lexer.h"

#include <cstring>

#include "platform/sqlite/errors.h"

namespace iqrx::platform::sqlite {

namespace {

constexpr std::string_view kBlanks = " \t\r\n";
constexpr std::string_view kSymbols = "(),=<>.*;+-!";

std::size_t SymbolSize(std::string_view text, std::size_t place) {
    const std::string_view two = text.substr(place, 2);
    return two == "<>" || two == "<=" || two == ">=" || two == "!=" ? 2 : 1;
}

bool IsWord(const Token& token, std::string_view upperCase) {
    return token.kind == Token::Kind::Word && WordIs(token.text, upperCase);
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
    std::size_t place = 0;
    for (;;) {
        place = statement.find_first_not_of(kBlanks, place);
        if (place == std::string_view::npos) break;
        const std::size_t begin = place;
        Token::Kind kind = Token::Kind::Literal;
        if (CannotBeLiteral(previous, statement[place]) || !literals.Scan(statement, place)) {
            if (IsWordCharacter(statement[place])) {
                kind = Token::Kind::Word;
                while (place < statement.size() && IsWordCharacter(statement[place])) ++place;
            } else if (kSymbols.find(statement[place]) != std::string_view::npos) {
                kind = Token::Kind::Symbol;
                place += SymbolSize(statement, place);
            } else {
                RaiseSyntaxError(statement, place, "Unexpected character");
            }
        }
        previous = {kind, statement.substr(begin, place - begin), begin};
        tokens.push_back(previous);
    }
    tokens.push_back({Token::Kind::End, {}, statement.size()});
    return tokens;
}

Shape::Shape(std::string_view statement, const std::vector<Token>& tokens) : text_(statement) {
    std::size_t begin = 0;
    for (const Token& token : tokens) {
        if (token.kind != Token::Kind::Literal) continue;
        AddSegment(begin, token.place);
        begin = token.place + token.text.size();
    }
    AddSegment(begin, statement.size());
}

void Shape::AddSegment(std::size_t begin, std::size_t end) {
    segments_.push_back({begin, end - begin, end > begin && IsWordCharacter(text_[end - 1])});
}

bool Shape::Match(std::string_view statement, Literals& literals) const {
    literals.Start(statement);
    std::size_t place = 0;
    for (std::size_t i = 0; i < segments_.size(); ++i) {
        const Segment& segment = segments_[i];
        if (statement.size() - place < segment.size ||
            std::memcmp(statement.data() + place, text_.data() + segment.begin, segment.size) != 0)
            return false;
        place += segment.size;
        if (i + 1 == segments_.size()) break;
        if (place == statement.size()) return false;
        // What continues a word is no literal.
        if (segment.endsInWord && (IsWordCharacter(statement[place]) || statement[place] == '.'))
            return false;
        if (!literals.Scan(statement, place)) return false;
    }
    return place == statement.size();
}

}  // namespace iqrx::platform::sqlite
