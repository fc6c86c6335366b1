#include "platform/dialect/grammar.h"

#include <string>

#include "platform/database_failure.h"
#include "platform/printable.h"

namespace iqrx::platform::dialect {

void RaiseSyntaxError(const Grammar& grammar, std::string_view text, std::size_t place,
                      std::string_view message, std::string_view sqlState) {
    constexpr std::int32_t kNumber = 1;
    constexpr std::size_t kQuotedLength = 40;
    std::string description(message);
    if (place >= text.size()) {
        description += " at the end of the statement";
        place = text.size() > kQuotedLength ? text.size() - kQuotedLength : 0;
        while (place < text.size() && (text[place] & 0xC0) == 0x80) ++place;  // the middle of a character
        description += " \"..." + Printable(text.substr(place)) + "\"";
    } else {
        description += " at \"" + Printable(text.substr(place), kQuotedLength) + "\" (character " +
                       std::to_string(place + 1) + ")";
    }
    throw DatabaseFailure(kNumber, std::string(grammar.product), std::move(description), std::string(sqlState));
}

}  // namespace iqrx::platform::dialect
