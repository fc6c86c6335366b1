#include "journal/flat_json.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>
#include <nlohmann/json.hpp>
#include <string>

#include "platform/text.h"

namespace iqrx::journal {

namespace {

// What the parser calls as it reads; false would end it.
class Members {
public:
    using Json = nlohmann::json;

    explicit Members(const std::function<void(std::string_view, const Scalar&)>& take) : take_(take) {}

    bool null() { return Take({}); }
    bool boolean(bool value) { return Take(value); }
    bool number_integer(Json::number_integer_t value) { return Take(std::int64_t{value}); }
    bool number_unsigned(Json::number_unsigned_t value) {
        constexpr auto kMost = static_cast<Json::number_unsigned_t>(std::numeric_limits<std::int64_t>::max());
        if (value > kMost) return Take(static_cast<double>(value));
        return Take(static_cast<std::int64_t>(value));
    }
    bool number_float(Json::number_float_t value, const Json::string_t&) { return Take(value); }
    bool string(Json::string_t& value) { return Take(std::string_view(value)); }
    bool binary(Json::binary_t&) { return true; }
    bool start_object(std::size_t) { return Enter(true); }
    bool start_array(std::size_t) { return Enter(false); }
    bool end_object() { return Leave(); }
    bool end_array() { return Leave(); }
    bool key(Json::string_t& name) {
        if (depth_ == 1) key_.assign(name);
        return true;
    }
    bool parse_error(std::size_t, const std::string&, const Json::exception&) { return false; }

private:
    bool Take(const Scalar& value) {
        if (depth_ == 1) take_(key_, value);
        return depth_ > 0;
    }
    bool Enter(bool isObject) { return ++depth_ > 1 || isObject; }
    bool Leave() {
        --depth_;
        return true;
    }

    const std::function<void(std::string_view, const Scalar&)>& take_;
    std::string key_;
    int depth_ = 0;
};

// An object as the journal's programs write it: no blank between its parts, no escape in its texts, nothing in
// it but scalars. A history has a hundred thousand of these, and the parser above takes its time over each byte.
class PlainObject {
public:
    // False for anything else, which need not be wrong.
    bool Read(std::string_view text) {
        rest_ = text;
        if (!Skip("{")) return false;
        for (;;) {
            if (count_ == members_.size()) return false;
            Member& member = members_[count_++];
            if (!ReadText(member.key) || !Skip(":") || !ReadValue(member.value)) return false;
            if (Skip("}")) return rest_.empty() || rest_ == "\n";
            if (!Skip(",")) return false;
        }
    }

    void HandTo(const std::function<void(std::string_view, const Scalar&)>& take) const {
        for (std::size_t i = 0; i < count_; ++i) take(members_[i].key, members_[i].value);
    }

private:
    struct Member {
        std::string_view key;
        Scalar value;
    };

    bool Skip(std::string_view expected) {
        if (!rest_.starts_with(expected)) return false;
        rest_.remove_prefix(expected.size());
        return true;
    }

    bool ReadText(std::string_view& text) {
        if (!Skip("\"")) return false;
        const std::size_t end = rest_.find('"');
        if (end == std::string_view::npos) return false;
        text = rest_.substr(0, end);
        rest_.remove_prefix(end + 1);
        bool isPlain = true;
        for (const char c : text) isPlain = isPlain && static_cast<unsigned char>(c) >= ' ' && c != '\\';
        return isPlain && platform::IsUtf8(text);
    }

    bool ReadValue(Scalar& value) {
        if (rest_.starts_with('"')) {
            std::string_view text;
            const bool isRead = ReadText(text);
            value = text;
            return isRead;
        }
        if (Skip("null"))
            value = std::monostate();
        else if (Skip("true"))
            value = true;
        else if (Skip("false"))
            value = false;
        else
            return ReadNumber(value);
        return true;
    }

    bool ReadNumber(Scalar& value) {
        constexpr std::string_view kDigits = "0123456789";
        const std::size_t end = std::min(rest_.find_first_not_of("+-.0123456789Ee"), rest_.size());
        const std::string_view text = rest_.substr(0, end);
        rest_.remove_prefix(end);
        const std::size_t first = text.starts_with('-') ? 1 : 0;
        const std::size_t point = std::min(text.find_first_not_of(kDigits, first), text.size());
        const bool hasLeadingZero = point > first + 1 && text[first] == '0';
        if (point == first || hasLeadingZero) return false;
        if (point == text.size()) return Parse<std::int64_t>(text, value);
        const std::string_view fraction = text.substr(point + 1);
        if (text[point] != '.' || fraction.empty() ||
            fraction.find_first_not_of(kDigits) != std::string_view::npos)
            return false;
        return Parse<double>(text, value);
    }

    template <class Number>
    static bool Parse(std::string_view text, Scalar& value) {
        Number number = 0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
        value = number;
        return error == std::errc() && end == text.data() + text.size();
    }

    std::string_view rest_;
    std::array<Member, 20> members_;
    std::size_t count_ = 0;
};

}  // namespace

bool ReadObject(std::string_view text, const std::function<void(std::string_view, const Scalar&)>& take) {
    PlainObject plain;
    if (plain.Read(text)) {
        plain.HandTo(take);
        return true;
    }
    Members members(take);
    return Members::Json::sax_parse(text.begin(), text.end(), &members);
}

}  // namespace iqrx::journal
