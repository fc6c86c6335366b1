#include "platform/watch/removal_limit.h"

#include "platform/number.h"
#include "platform/text.h"

namespace iqrx::platform::watch {

namespace {

// A number that is not negative; no sign, no exponent.
template <class Number, class... Format>
std::optional<Number> Parsed(std::string_view text, Format... format) {
    if (text.find_first_not_of("0123456789.") != std::string_view::npos) return std::nullopt;
    return NumberFrom<Number>(text, format...);
}

}  // namespace

std::optional<RemovalLimit> RemovalLimit::Parse(std::string_view text) {
    constexpr double kWhole = 100;
    text = Trim(text);
    if (EqualIgnoringCase(text, "any")) return RemovalLimit(Kind::Any, 0, 0);
    if (text.ends_with('%')) {
        const auto percent = Parsed<double>(Trim(text.substr(0, text.size() - 1)), std::chars_format::fixed);
        if (!percent || *percent > kWhole) return std::nullopt;
        return RemovalLimit(Kind::Percent, *percent, 0);
    }
    const auto rows = Parsed<std::int64_t>(text);
    if (!rows) return std::nullopt;
    return RemovalLimit(Kind::Rows, 0, *rows);
}

bool RemovalLimit::Allows(std::int64_t removed, std::int64_t of) const {
    return AllowsAll() || removed <= rows_ ||
           static_cast<double>(removed) * 100 <= static_cast<double>(of) * percent_;
}

std::string RemovalLimit::Text() const {
    if (kind_ == Kind::Any) return "no limit";
    if (kind_ == Kind::Percent || kind_ == Kind::Default) return "limit " + ShortestText(percent_) + " %";
    return "limit " + std::to_string(rows_) + (rows_ == 1 ? " row" : " rows");
}

const RemovalLimit& RemovalLimits::Of(std::string_view table) const {
    const auto own = ofTable.find(table);
    return own == ofTable.end() ? all : own->second;
}

}  // namespace iqrx::platform::watch
