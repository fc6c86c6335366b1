// The literals of a statement text, in their order, as values to bind.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/dialect/grammar.h"
#include "platform/literal.h"

namespace iqrx::platform::dialect {

// A place in a statement text. What is taken is passed over, with the blanks in front of it.
class Cursor {
public:
    explicit Cursor(std::string_view text) : text_(text) {}

    std::string_view Text() const { return text_; }
    std::size_t Place() const { return place_; }
    bool AtEnd() const { return place_ == text_.size(); }
    char Peek(std::size_t ahead = 0) const {
        return place_ + ahead < text_.size() ? text_[place_ + ahead] : '\0';
    }
    std::string_view From(std::size_t begin) const { return text_.substr(begin, place_ - begin); }

    void Pass(std::size_t count = 1) { place_ += count; }
    std::size_t PassBlanks();  // the place that it comes to
    void PassDigits();
    bool Take(char wanted);
    bool TakeWord(std::string_view upperCase);  // a whole word, not the beginning of a longer one

private:
    std::string_view text_;
    std::size_t place_ = 0;
};

class Literals {
public:
    explicit Literals(const Grammar& grammar) : grammar_(&grammar) {}

    const Grammar& Of() const { return *grammar_; }

    // Forgets the literals of the text before and keeps their memory.
    void Start(std::string_view statement);

    // Their texts lie in the statement or in this list.
    const std::vector<Literal>& Items() const { return items_; }

    // Takes the literal that begins where the cursor stands; false when none does. Literals are texts ('...',
    // N'...'), unsigned numbers, the word NULL, CONVERT(DATETIME,'...',120) and TO_DATE('...','FORMAT').
    // Dates become texts "YYYY-MM-DD HH:MM:SS"; an empty one is the server's zero date with CONVERT, and Null
    // with TO_DATE. Raises when a text is not closed or a date is not one.
    bool Scan(Cursor& at);

private:
    bool ScanNumber(Cursor& at);
    bool ScanConvert(Cursor& at);
    bool ScanToDate(Cursor& at);
    std::optional<std::string_view> TakeText(Cursor& at);
    void AddDate(std::string_view statement, std::size_t quote, std::string_view text, const Literal& ofNone);

    const Grammar* grammar_;
    std::vector<Literal> items_;
    std::string scratch_;  // never grows while a statement is read: a value is no longer than its literal
};

bool IsWordCharacter(char c);

}  // namespace iqrx::platform::dialect
