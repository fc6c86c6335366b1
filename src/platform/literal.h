// A value in a statement: the text that a server gets and, where it is known, the value that this is.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace iqrx::platform {

// What stands around the text of a literal. Frames are data of the program.
struct LiteralFrame {
    std::string_view open, close;
};
inline constexpr LiteralFrame kBare{"", ""}, kNational{"N'", "'"}, kQuotes{"'", "'"};

class Literal {
public:
    enum class Kind : std::uint8_t {
        Null,
        Whole,
        Real,
        Text,
        Unknown,  // only the server knows what the text means
    };

    Literal() : whole_(0), text_() {}  // Null, written as NULL
    static Literal Whole(std::int64_t number, const LiteralFrame& frame = kBare) {
        Literal literal(Kind::Whole, frame);
        literal.whole_ = number;
        return literal;
    }
    static Literal Real(double number, std::string_view shown = {}) {
        Literal literal(Kind::Real, kBare, shown);
        literal.real_ = number;
        return literal;
    }
    // The apostrophes of the text are doubled for the server.
    static Literal Text(std::string_view text, const LiteralFrame& frame = kNational) {
        return Literal(Kind::Text, frame, text);
    }
    static Literal Unknown(std::string_view shown, const LiteralFrame& frame = kBare) {
        return Literal(Kind::Unknown, frame, shown);
    }
    // The frame around nothing, which the server reads as this value.
    static Literal Empty(const Literal& value, const LiteralFrame& frame);

    // Texts are borrowed; this one holds its own, which is at most kOwnSize long.
    Literal WithItsText() const;
    static constexpr std::size_t kOwnSize = 24;
    // Adds it, with its text, to a string in less room than it takes itself.
    void PackInto(std::string& packed) const;
    // Takes it off again; its text lies where it was packed.
    static Literal Unpack(std::string_view& packed);

    Kind Is() const { return kind_; }
    std::int64_t WholeNumber() const { return whole_; }
    double RealNumber() const { return real_; }
    std::string_view TextValue() const {
        return ownSize_ > 0 ? std::string_view(own_.data(), ownSize_) : text_;
    }

    void AppendTo(std::string& sql) const;

private:
    Literal(Kind kind, const LiteralFrame& frame, std::string_view text = {})
        : kind_(kind), frame_(&frame), whole_(0), text_(text) {}

    Kind kind_ = Kind::Null;
    bool isEmpty_ = false;      // nothing is shown in the frame
    std::uint8_t ownSize_ = 0;  // above 0: the text is own_
    const LiteralFrame* frame_ = nullptr;
    union {
        std::int64_t whole_;
        double real_;
    };
    union {
        std::string_view text_;
        std::array<char, kOwnSize> own_;
    };
};

}  // namespace iqrx::platform
