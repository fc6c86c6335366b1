#include "platform/statement.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>

namespace iqrx::platform {

namespace {

struct Head {
    const LiteralFrame* frame;
    std::uint32_t size;  // of the text
    Literal::Kind kind;
    bool isEmpty;
};

bool HasNumber(Literal::Kind kind) { return kind == Literal::Kind::Whole || kind == Literal::Kind::Real; }

template <class Data>
void Put(std::string& packed, const Data& data) {
    packed.append(reinterpret_cast<const char*>(&data), sizeof data);
}

template <class Data>
void Take(std::string_view& packed, Data& data) {
    std::memcpy(&data, packed.data(), sizeof data);
    packed.remove_prefix(sizeof data);
}

}  // namespace

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

void Literal::PackInto(std::string& packed) const {
    const std::string_view text = TextValue();
    Put(packed, Head{frame_, static_cast<std::uint32_t>(text.size()), kind_, isEmpty_});
    if (kind_ == Kind::Whole) Put(packed, whole_);
    if (kind_ == Kind::Real) Put(packed, real_);
    packed += text;
}

Literal Literal::Unpack(std::string_view& packed) {
    Head head;
    Take(packed, head);
    Literal literal;
    literal.kind_ = head.kind;
    literal.frame_ = head.frame;
    literal.isEmpty_ = head.isEmpty;
    if (head.kind == Kind::Whole) Take(packed, literal.whole_);
    if (head.kind == Kind::Real) Take(packed, literal.real_);
    literal.text_ = packed.substr(0, head.size);
    packed.remove_prefix(head.size);
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

KeptStatement::KeptStatement(const Statement& statement)
    : shape_(statement.Form()), text_(shape_.pieces.empty() ? statement.Text() : statement.Table()) {
    std::size_t size = 0;
    for (const Literal& value : statement.Values())
        size += sizeof(Head) + (HasNumber(value.Is()) ? sizeof(double) : 0) + value.TextValue().size();
    values_.reserve(size);
    for (const Literal& value : statement.Values()) value.PackInto(values_);
}

Statement KeptStatement::Borrowed(std::vector<Literal>& room) const {
    if (shape_.pieces.empty()) return Statement(text_);
    room.clear();
    room.reserve(values_.size() / sizeof(Head));
    for (std::string_view left = values_; !left.empty();) room.push_back(Literal::Unpack(left));
    return Statement(shape_, text_, room);
}

}  // namespace iqrx::platform
