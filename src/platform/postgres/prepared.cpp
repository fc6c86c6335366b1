#include "platform/postgres/prepared.h"

#include <charconv>
#include <limits>

#include "platform/date.h"
#include "platform/postgres/types.h"

namespace iqrx::platform::postgres {

namespace {

Value Number(const std::string& text) {
    Double number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && stop == end ? Value(number) : Value(text);
}

Value WholeNumber(const std::string& text) {
    Long number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && stop == end ? Value(number) : Number(text);
}

// Fractions of a second and the zone are left out. What is no date to the port, such as "infinity", is a text.
Value Moment(const std::string& text) {
    constexpr std::size_t kToTheSecond = 19;
    if (const auto date = ParseIsoDate(std::string_view(text).substr(0, kToTheSecond))) return *date;
    return text;
}

}  // namespace

Value Cell(const PGresult* rows, int row, int column) {
    if (PQgetisnull(rows, row, column)) return Null{};
    std::string text(PQgetvalue(rows, row, column), static_cast<std::size_t>(PQgetlength(rows, row, column)));
    switch (PQftype(rows, column)) {
        case kBoolean:
            return Boolean{text == "t"};
        case kWhole2:
        case kWhole4:
        case kWhole8:
            return WholeNumber(text);
        case kReal4:
        case kReal8:
        case kNumeric:
            return Number(text);
        case kDay:
        case kMoment:
        case kMomentWithZone:
            return Moment(text);
        default:
            return text;
    }
}

}  // namespace iqrx::platform::postgres
