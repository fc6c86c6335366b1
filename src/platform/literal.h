// A value in a statement: the text that a server gets and, where it is known, the value behind it.
#pragma once

#include <array>
#include <cstdint>
#include <span>
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

    Literal() = default;  // Null, written as NULL
    static Literal Whole(std::int64_t number, const LiteralFrame& frame = kBare);
    static Literal Real(double number, std::string_view shown = {});
    // The apostrophes of the text are doubled for the server.
    static Literal Text(std::string_view text, const LiteralFrame& frame = kNational);
    static Literal Unknown(std::string_view shown, const LiteralFrame& frame = kBare);
    // The frame around nothing, which the server reads as this value.
    static Literal Empty(const Literal& value, const LiteralFrame& frame);

    // Texts are borrowed; this one holds its own, which is at most kOwnSize long.
    Literal WithItsText() const;
    static constexpr std::size_t kOwnSize = 24;

    Kind Is() const { return kind_; }
    std::int64_t WholeNumber() const { return whole_; }
    double RealNumber() const { return real_; }
    std::string_view TextValue() const {
        return ownSize_ > 0 ? std::string_view(own_.data(), ownSize_) : text_;
    }

    void AppendTo(std::string& sql) const;

private:
    Kind kind_ = Kind::Null;
    bool isEmpty_ = false;  // nothing is shown in the frame
    std::uint8_t ownSize_ = 0;
    std::array<char, kOwnSize> own_{};
    union {
        std::int64_t whole_ = 0;
        double real_;
    };
    std::string_view text_;
    const LiteralFrame* frame_ = nullptr;
};

}  // namespace iqrx::platform
