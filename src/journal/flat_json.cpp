#include "journal/flat_json.h"

#include <limits>
#include <nlohmann/json.hpp>
#include <string>

namespace iqrx::journal {

namespace {

using Json = nlohmann::json;

// What the parser calls as it reads; false would end it.
class Members {
public:
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

}  // namespace

bool ReadObject(std::string_view text, const std::function<void(std::string_view, const Scalar&)>& take) {
    Members members(take);
    return Json::sax_parse(text.begin(), text.end(), &members);
}

}  // namespace iqrx::journal
