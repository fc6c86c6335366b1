// The literals of a statement text, in their order, as values to bind.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace iqrx::platform::sqlite {

enum class LiteralKind : std::uint8_t { Null, Whole, Real, Text };

struct Literal {
    LiteralKind kind = LiteralKind::Null;
    std::int64_t whole = 0;
    double real = 0;
    std::string_view text;  // lies in the statement text or in the list: valid as long as both
};

class Literals {
public:
    // Forgets the literals of the text before and keeps their memory.
    void Start(std::string_view statement);

    const std::vector<Literal>& Items() const { return items_; }

    // Reads the literal at `place` of the statement and moves `place` behind it; false when none begins
    // there. Literals are texts ('...', N'...'), unsigned numbers, the word NULL, CONVERT(DATETIME,'...',120)
    // and TO_DATE('...','FORMAT'). Dates become texts "YYYY-MM-DD HH:MM:SS"; an empty one is the server's
    // zero date with CONVERT, and Null with TO_DATE. Raises when a text is not closed or a date is none.
    bool Scan(std::string_view statement, std::size_t& place);

private:
    bool ScanUsual(std::string_view statement, std::size_t& place);
    bool ScanText(std::string_view statement, std::size_t quote, std::size_t& place);
    bool ScanNumber(std::string_view statement, std::size_t& place);
    bool ScanDate(std::string_view statement, std::size_t& place, bool convert);
    bool ReadText(std::string_view statement, std::size_t quote, std::size_t& place, std::string_view& text);
    std::string_view Canonical(std::string_view statement, std::size_t place, std::string_view text);
    void Add(std::string_view text) { items_.push_back({LiteralKind::Text, 0, 0, text}); }

    std::vector<Literal> items_;
    std::string scratch_;  // never grows while a statement is read: a value is no longer than its literal
};

bool IsWordCharacter(char c);
bool WordIs(std::string_view word, std::string_view upperCase);

}  // namespace iqrx::platform::sqlite
