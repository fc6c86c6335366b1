#include "platform/sqlite/literals.h"

#include <array>
#include <charconv>
#include <cstring>

#include "platform/date.h"
#include "platform/sqlite/errors.h"

namespace iqrx::platform::sqlite {

namespace {

constexpr std::string_view kServerZeroDate = "1900-01-01 00:00:00";
constexpr std::string_view kCanonicalForm = "0000-00-00 00:00:00";

constexpr auto kWordCharacters = [] {
    std::array<bool, 256> table{};
    for (int c = 0; c < 256; ++c)
        table[c] = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
                   c == '@' || c == '#' || c == '$' || c >= 0x80;
    return table;
}();

bool IsDigit(char c) { return c >= '0' && c <= '9'; }
char UpperCase(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }
bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

char At(std::string_view text, std::size_t place) { return place < text.size() ? text[place] : '\0'; }

void SkipBlanks(std::string_view text, std::size_t& place) {
    while (place < text.size() && IsBlank(text[place])) ++place;
}

bool SkipCharacter(std::string_view text, std::size_t& place, char wanted) {
    SkipBlanks(text, place);
    if (At(text, place) != wanted) return false;
    ++place;
    return true;
}

// A whole word, not the beginning of a longer one.
bool SkipWord(std::string_view text, std::size_t& place, std::string_view upperCase) {
    SkipBlanks(text, place);
    const std::size_t end = place + upperCase.size();
    if (end > text.size() || !WordIs(text.substr(place, upperCase.size()), upperCase)) return false;
    if (end < text.size() && IsWordCharacter(text[end])) return false;
    place = end;
    return true;
}

int TwoDigits(const char* digits) { return (digits[0] - '0') * 10 + (digits[1] - '0'); }

bool IsCanonicalDate(std::string_view text) {
    if (text.size() != kCanonicalForm.size()) return false;
    for (std::size_t i = 0; i < text.size(); ++i)
        if (kCanonicalForm[i] == '0' ? !IsDigit(text[i]) : text[i] != kCanonicalForm[i]) return false;
    const char* d = text.data();
    const int month = TwoDigits(d + 5), day = TwoDigits(d + 8);
    if (month >= 1 && month <= 12 && day >= 1 && day <= 28 && text[0] != '0')
        return TwoDigits(d + 11) < 24 && TwoDigits(d + 14) < 60 && TwoDigits(d + 17) < 60;
    return text[0] != '0' && ParseIsoDate(text).has_value();
}

// Reads up to `longest` digits into `form` so that they end before `end`.
bool PadInto(std::string& form, std::size_t end, std::size_t longest, std::string_view text,
             std::size_t& place) {
    std::size_t count = 0;
    while (IsDigit(At(text, place + count))) ++count;
    if (count == 0 || count > longest) return false;
    form.replace(end - count, count, text, place, count);
    place += count;
    return true;
}

// The servers' tolerance: single digits, "/" between the parts of the day, missing seconds, no time at all.
bool Canonicalize(std::string_view text, std::string& form) {
    form = kCanonicalForm;
    std::size_t place = 0;
    auto separator = [&] { return At(text, place) == '-' || At(text, place) == '/' ? (++place, true) : false; };
    if (!IsDigit(At(text, 3)) || !PadInto(form, 4, 4, text, place) || !separator() ||
        !PadInto(form, 7, 2, text, place) || !separator() || !PadInto(form, 10, 2, text, place))
        return false;
    if (place < text.size()) {
        if (text[place++] != ' ' || !PadInto(form, 13, 2, text, place) || At(text, place++) != ':' ||
            !PadInto(form, 16, 2, text, place))
            return false;
        if (place < text.size() && (text[place++] != ':' || !PadInto(form, 19, 2, text, place))) return false;
    }
    return place == text.size() && IsCanonicalDate(form);
}

bool IsKnownFormat(std::string_view format) {
    return WordIs(format, "YYYY-MM-DD HH24:MI:SS") || WordIs(format, "YYYY/MM/DD");
}

}  // namespace

bool IsWordCharacter(char c) { return kWordCharacters[static_cast<unsigned char>(c)]; }

bool WordIs(std::string_view word, std::string_view upperCase) {
    if (word.size() != upperCase.size()) return false;
    for (std::size_t i = 0; i < word.size(); ++i)
        if (UpperCase(word[i]) != upperCase[i]) return false;
    return true;
}

void Literals::Start(std::string_view statement) {
    items_.clear();
    scratch_.clear();
    if (scratch_.capacity() < statement.size()) scratch_.reserve(2 * statement.size());
}

// The literals that nearly all of a copy's statements are made of: a text without a quote in it, a single digit.
bool Literals::ScanUsual(std::string_view statement, std::size_t& place) {
    const char* const text = statement.data() + place;
    const std::size_t left = statement.size() - place;
    if (left >= 3 && text[0] == 'N' && text[1] == '\'') {
        const void* const found = std::memchr(text + 2, '\'', left - 2);
        if (!found) return false;
        const char* const quote = static_cast<const char*>(found);
        const std::size_t length = static_cast<std::size_t>(quote - text) + 1;
        if (length < left && quote[1] == '\'') return false;
        Add({text + 2, length - 3});
        place += length;
        return true;
    }
    if (left < 2 || !IsDigit(text[0]) || IsDigit(text[1]) || text[1] == '.' || UpperCase(text[1]) == 'E')
        return false;
    Literal digit;
    digit.kind = LiteralKind::Whole;
    digit.whole = text[0] - '0';
    items_.push_back(digit);
    ++place;
    return true;
}

bool Literals::Scan(std::string_view statement, std::size_t& place) {
    if (ScanUsual(statement, place)) return true;
    const char first = At(statement, place);
    switch (first) {
        case '\'':
            return ScanText(statement, place, place);
        case 'N':
        case 'n':
            if (At(statement, place + 1) == '\'') return ScanText(statement, place + 1, place);
            if (!SkipWord(statement, place, "NULL")) return false;
            items_.emplace_back();
            return true;
        case 'C':
        case 'c':
            return ScanDate(statement, place, true);
        case 'T':
        case 't':
            return ScanDate(statement, place, false);
        default:
            if (IsDigit(first) || (first == '.' && IsDigit(At(statement, place + 1))))
                return ScanNumber(statement, place);
            return false;
    }
}

bool Literals::ScanText(std::string_view statement, std::size_t quote, std::size_t& place) {
    std::string_view text;
    if (!ReadText(statement, quote, place, text)) return false;
    Add(text);
    return true;
}

// Reads from the opening quote to the closing one; doubled quotes become single ones.
bool Literals::ReadText(std::string_view statement, std::size_t quote, std::size_t& place,
                        std::string_view& text) {
    if (At(statement, quote) != '\'') return false;
    const std::size_t scratchBegin = scratch_.size();
    std::size_t begin = quote + 1;
    for (;;) {
        const std::size_t end = statement.find('\'', begin);
        if (end == std::string_view::npos) RaiseSyntaxError(statement, quote, "The text is not closed");
        if (At(statement, end + 1) != '\'') {
            place = end + 1;
            if (scratch_.size() == scratchBegin) {
                text = statement.substr(begin, end - begin);
            } else {
                scratch_.append(statement, begin, end - begin);
                text = std::string_view(scratch_).substr(scratchBegin);
            }
            return true;
        }
        scratch_.append(statement, begin, end + 1 - begin);
        begin = end + 2;
    }
}

bool Literals::ScanNumber(std::string_view statement, std::size_t& place) {
    std::size_t end = place;
    bool whole = true;
    while (IsDigit(At(statement, end))) ++end;
    if (At(statement, end) == '.') {
        whole = false;
        do ++end;
        while (IsDigit(At(statement, end)));
    }
    if (UpperCase(At(statement, end)) == 'E') {  // an exponent, unless a word follows the number without a blank
        std::size_t digits = end + 1;
        if (At(statement, digits) == '+' || At(statement, digits) == '-') ++digits;
        if (IsDigit(At(statement, digits))) {
            whole = false;
            end = digits;
            while (IsDigit(At(statement, end))) ++end;
        }
    }
    Literal literal;
    const char* first = statement.data() + place;
    const char* last = statement.data() + end;
    if (whole && std::from_chars(first, last, literal.whole).ec == std::errc()) {
        literal.kind = LiteralKind::Whole;
    } else {
        literal.kind = LiteralKind::Real;
        if (std::from_chars(first, last, literal.real).ec != std::errc())
            RaiseSyntaxError(statement, place, "The number is out of range", "22003");
    }
    items_.push_back(literal);
    place = end;
    return true;
}

bool Literals::ScanDate(std::string_view statement, std::size_t& place, bool convert) {
    std::size_t at = place;
    if (!SkipWord(statement, at, convert ? "CONVERT" : "TO_DATE") || !SkipCharacter(statement, at, '('))
        return false;
    if (convert && (!SkipWord(statement, at, "DATETIME") || !SkipCharacter(statement, at, ','))) return false;
    SkipBlanks(statement, at);
    const std::size_t quote = at;
    std::string_view text;
    if (!ReadText(statement, quote, at, text) || !SkipCharacter(statement, at, ',')) return false;
    if (convert) {
        if (!SkipWord(statement, at, "120")) return false;
    } else {
        std::string_view format;
        SkipBlanks(statement, at);
        const std::size_t formatPlace = at;
        if (!ReadText(statement, at, at, format)) return false;
        if (!IsKnownFormat(format)) RaiseSyntaxError(statement, formatPlace, "The date format is not known");
    }
    if (!SkipCharacter(statement, at, ')')) return false;
    if (!text.empty())
        Add(Canonical(statement, quote, text));
    else if (convert)
        Add(kServerZeroDate);
    else
        items_.emplace_back();
    place = at;
    return true;
}

std::string_view Literals::Canonical(std::string_view statement, std::size_t place, std::string_view text) {
    if (IsCanonicalDate(text)) return text;
    std::string form;
    if (!Canonicalize(text, form))
        RaiseSyntaxError(statement, place, "The text is no date and time", "22007");
    const std::size_t begin = scratch_.size();
    scratch_.append(form);
    return std::string_view(scratch_).substr(begin);
}

}  // namespace iqrx::platform::sqlite
