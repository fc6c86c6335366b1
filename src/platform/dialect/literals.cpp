#include "platform/dialect/literals.h"

#include <array>

#include "platform/date.h"
#include "platform/number.h"
#include "platform/text.h"

namespace iqrx::platform::dialect {

namespace {

constexpr std::string_view kServerZeroDate = "1900-01-01 00:00:00";
constexpr std::string_view kBlanks = " \t\r\n";

constexpr auto kWordCharacters = [] {
    std::array<bool, 256> table{};
    for (int c = 0; c < 256; ++c)
        table[c] = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
                   c == '@' || c == '#' || c == '$' || c >= 0x80;
    return table;
}();

char UpperCase(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

bool IsCanonicalDate(std::string_view text) {
    return text.size() == kServerZeroDate.size() && text.front() != '0' && ParseIsoDate(text);
}

// Takes up to `longest` digits and writes them into the form so that they end before `end`.
bool PadInto(std::string& form, std::size_t end, std::size_t longest, Cursor& at) {
    const std::size_t begin = at.Place();
    at.PassDigits();
    const std::string_view digits = at.From(begin);
    if (digits.empty() || digits.size() > longest) return false;
    form.replace(end - digits.size(), digits.size(), digits);
    return true;
}

// The servers' tolerance: single digits, "/" between the parts of the day, missing seconds, no time at all.
bool Canonicalize(std::string_view text, std::string& form) {
    form = "0000-00-00 00:00:00";
    Cursor at(text);
    const auto passed = [&](std::string_view marks) {
        const bool found = !at.AtEnd() && marks.find(at.Peek()) != std::string_view::npos;
        if (found) at.Pass();
        return found;
    };
    if (!IsDigit(at.Peek(3)) || !PadInto(form, 4, 4, at) || !passed("-/") || !PadInto(form, 7, 2, at) ||
        !passed("-/") || !PadInto(form, 10, 2, at))
        return false;
    if (!at.AtEnd()) {
        if (!passed(" ") || !PadInto(form, 13, 2, at) || !passed(":") || !PadInto(form, 16, 2, at))
            return false;
        if (!at.AtEnd() && (!passed(":") || !PadInto(form, 19, 2, at))) return false;
    }
    return at.AtEnd() && IsCanonicalDate(form);
}

bool IsKnownFormat(std::string_view format) {
    return EqualIgnoringCase(format, "YYYY-MM-DD HH24:MI:SS") || EqualIgnoringCase(format, "YYYY/MM/DD");
}

}  // namespace

bool IsWordCharacter(char c) { return kWordCharacters[static_cast<unsigned char>(c)]; }

std::size_t Cursor::PassBlanks() {
    return place_ = std::min(text_.find_first_not_of(kBlanks, place_), text_.size());
}

void Cursor::PassDigits() {
    while (IsDigit(Peek())) Pass();
}

bool Cursor::Take(char wanted) {
    PassBlanks();
    if (AtEnd() || Peek() != wanted) return false;
    Pass();
    return true;
}

bool Cursor::TakeWord(std::string_view upperCase) {
    PassBlanks();
    if (!EqualIgnoringCase(text_.substr(place_, upperCase.size()), upperCase) ||
        IsWordCharacter(Peek(upperCase.size())))
        return false;
    Pass(upperCase.size());
    return true;
}

void Literals::Start(std::string_view statement) {
    items_.clear();
    scratch_.clear();
    if (scratch_.capacity() < statement.size()) scratch_.reserve(2 * statement.size());
}

bool Literals::Scan(Cursor& at) {
    switch (UpperCase(at.Peek())) {
        case 'N':
            if (at.Peek(1) != '\'') {
                if (!at.TakeWord("NULL")) return false;
                items_.emplace_back();
                return true;
            }
            at.Pass();
            [[fallthrough]];
        case '\'':
            items_.push_back(Literal::Text(*TakeText(at)));
            return true;
        case 'C':
            return ScanConvert(at);
        case 'T':
            return ScanToDate(at);
        default:
            return ScanNumber(at);
    }
}

// Reads from the opening quote to the closing one; doubled quotes become single ones.
std::optional<std::string_view> Literals::TakeText(Cursor& at) {
    if (at.Peek() != '\'') return std::nullopt;
    const std::size_t quote = at.Place(), scratchBegin = scratch_.size();
    std::size_t begin = quote + 1;
    for (;;) {
        const std::size_t end = at.Text().find('\'', begin);
        if (end == std::string_view::npos)
            RaiseSyntaxError(*grammar_, at.Text(), quote, "The text is not closed");
        at.Pass(end + 1 - at.Place());
        const std::string_view part = at.Text().substr(begin, end - begin);
        if (at.Peek() != '\'') {
            if (scratch_.size() == scratchBegin) return part;
            return std::string_view(scratch_.append(part)).substr(scratchBegin);
        }
        scratch_.append(part).push_back('\'');
        begin = end + 2;
    }
}

bool Literals::ScanNumber(Cursor& at) {
    if (!IsDigit(at.Peek()) && !(at.Peek() == '.' && IsDigit(at.Peek(1)))) return false;
    const std::size_t begin = at.Place();
    bool isWhole = true;
    at.PassDigits();
    if (at.Peek() == '.') {
        isWhole = false;
        at.Pass();
        at.PassDigits();
    }
    if (UpperCase(at.Peek()) == 'E') {  // an exponent, unless a word follows the number without a blank
        const std::size_t sign = at.Peek(1) == '+' || at.Peek(1) == '-' ? 1 : 0;
        if (IsDigit(at.Peek(1 + sign))) {
            isWhole = false;
            at.Pass(1 + sign);
            at.PassDigits();
        }
    }
    const std::string_view digits = at.From(begin);
    if (const auto whole = isWhole ? NumberFrom<std::int64_t>(digits) : std::nullopt)
        items_.push_back(Literal::Whole(*whole));
    else if (const auto real = NumberFrom<double>(digits))
        items_.push_back(Literal::Real(*real));
    else
        RaiseSyntaxError(*grammar_, at.Text(), begin, "The number is out of range", "22003");
    return true;
}

bool Literals::ScanConvert(Cursor& at) {
    Cursor ahead = at;
    if (!ahead.TakeWord("CONVERT") || !ahead.Take('(') || !ahead.TakeWord("DATETIME") || !ahead.Take(','))
        return false;
    const std::size_t quote = ahead.PassBlanks();
    const auto text = TakeText(ahead);
    if (!text || !ahead.Take(',') || !ahead.TakeWord("120") || !ahead.Take(')')) return false;
    AddDate(at.Text(), quote, *text, Literal::Text(kServerZeroDate));
    at = ahead;
    return true;
}

bool Literals::ScanToDate(Cursor& at) {
    Cursor ahead = at;
    if (!ahead.TakeWord("TO_DATE") || !ahead.Take('(')) return false;
    const std::size_t quote = ahead.PassBlanks();
    const auto text = TakeText(ahead);
    if (!text || !ahead.Take(',')) return false;
    const std::size_t formatQuote = ahead.PassBlanks();
    const auto format = TakeText(ahead);
    if (!format) return false;
    if (!IsKnownFormat(*format))
        RaiseSyntaxError(*grammar_, at.Text(), formatQuote, "The date format is not known");
    if (!ahead.Take(')')) return false;
    AddDate(at.Text(), quote, *text, Literal());
    at = ahead;
    return true;
}

void Literals::AddDate(std::string_view statement, std::size_t quote, std::string_view text,
                       const Literal& ofNone) {
    std::string form;
    if (text.empty())
        items_.push_back(ofNone);
    else if (Canonicalize(text, form))
        items_.push_back(Literal::Text(form).WithItsText());
    else
        RaiseSyntaxError(*grammar_, statement, quote, "The text is not a date and time", "22007");
}

}  // namespace iqrx::platform::dialect
