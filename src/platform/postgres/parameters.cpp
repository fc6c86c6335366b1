#include "platform/postgres/parameters.h"

#include <array>
#include <charconv>

#include "platform/conversions.h"
#include "platform/date.h"
#include "platform/postgres/errors.h"
#include "platform/postgres/types.h"

namespace iqrx::platform::postgres {

namespace {

std::string_view ZeroOf(Oid type) {
    switch (type) {
        case kWhole2:
        case kWhole4:
        case kWhole8:
        case kReal4:
        case kReal8:
        case kNumeric:
            return "0";
        case kDay:
        case kMoment:
        case kMomentWithZone:
            return "1900-01-01 00:00:00";
        default:
            return "";
    }
}

using Room = std::array<char, 32>;

template <class Number>
std::string_view Digits(Room& room, Number number) {
    const char* const end = std::to_chars(room.data(), room.data() + room.size(), number).ptr;
    return {room.data(), static_cast<std::size_t>(end - room.data())};
}

}  // namespace

void Parameters::Clear() {
    texts_.clear();
    places_.clear();
}

void Parameters::AddText(std::string_view text, Oid type) {
    if (text.empty()) text = ZeroOf(type);
    if (text.find('\0') != std::string_view::npos)
        Raise("22021", "A text holds the character NUL (U+0000), which PostgreSQL does not keep");
    places_.push_back(texts_.size());
    texts_.append(text).push_back('\0');
}

void Parameters::Add(const Literal& literal, Oid type, bool isNegative) {
    Room room;
    switch (literal.Is()) {
        case Literal::Kind::Whole:
            return AddText(Digits(room, isNegative ? -literal.WholeNumber() : literal.WholeNumber()), type);
        case Literal::Kind::Real:
            return AddText(Digits(room, isNegative ? -literal.RealNumber() : literal.RealNumber()), type);
        case Literal::Kind::Text:
            if (isNegative) return AddText("-" + std::string(literal.TextValue()), type);
            return AddText(literal.TextValue(), type);
        default:
            return AddNull();
    }
}

void Parameters::Add(const Value& value, Oid type) {
    if (value.Is<Null>() || value.Is<Empty>()) return AddNull();
    if (value.Is<Double>() || value.Is<Single>()) return Add(Literal::Real(ToDouble(value)), type);
    if (value.Is<Date>()) return AddText(IsoDateTime(value.As<Date>()), type);
    if (value.Is<std::string>()) return AddText(value.As<std::string>(), type);
    Add(Literal::Whole(ToLong(value)), type);
}

std::optional<std::string_view> Parameters::At(std::size_t place) const {
    if (places_[place] == kNull) return std::nullopt;
    return std::string_view(texts_.data() + places_[place]);
}

const char* const* Parameters::Texts() const {
    pointers_.clear();
    for (const std::size_t place : places_)
        pointers_.push_back(place == kNull ? nullptr : texts_.data() + place);
    return pointers_.data();
}

}  // namespace iqrx::platform::postgres
