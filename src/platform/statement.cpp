#include "platform/statement.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace iqrx::platform {

Literal Literal::Empty(const Literal& value, const LiteralFrame& frame) {
    Literal literal = value;
    literal.isEmpty_ = true;
    literal.frame_ = &frame;
    return literal;
}

Literal Literal::WithItsText() const {
    Literal literal = *this;
    literal.own_ = {};
    literal.ownSize_ = static_cast<std::uint8_t>(TextValue().copy(literal.own_.data(), kOwnSize));
    return literal;
}

void Literal::AppendTo(std::string& sql) const {
    if (!frame_) {
        sql += "NULL";
        return;
    }
    sql += frame_->open;
    if (isEmpty_) {
        // The value stands for what is not there.
    } else if (kind_ == Kind::Whole) {
        std::array<char, 24> digits;
        sql.append(digits.data(), std::to_chars(digits.data(), digits.data() + digits.size(), whole_).ptr);
    } else if (kind_ == Kind::Text) {
        std::string_view text = TextValue();
        for (auto quote = text.find('\''); quote != std::string_view::npos; quote = text.find('\'')) {
            sql.append(text.substr(0, quote)).append("''");
            text.remove_prefix(quote + 1);
        }
        sql += text;
    } else {
        sql += TextValue();
    }
    sql += frame_->close;
}

bool Statement::CanBeBound() const {
    return !shape_.pieces.empty() && std::ranges::none_of(values_, [](const Literal& value) {
        return value.Is() == Literal::Kind::Unknown;
    });
}

std::string_view Statement::Text() const {
    if (!text_.empty() || shape_.pieces.empty()) return text_;
    constexpr std::size_t kUsualLength = 256;
    rendered_.reserve(kUsualLength);
    rendered_ = shape_.opening;
    auto value = values_.begin();
    do {
        for (const Piece& piece : shape_.pieces) {
            rendered_ += piece.text;
            if (piece.then == Piece::Then::Table) rendered_ += table_;
            if (piece.then == Piece::Then::Value) (value++)->AppendTo(rendered_);
        }
    } while (value != values_.end());
    return text_ = rendered_;
}

}  // namespace iqrx::platform
