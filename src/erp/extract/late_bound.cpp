#include "erp/extract/late_bound.h"

namespace iqrx::erp::extract {

void Raise(platform::ErrorNumber number, const std::string& description) {
    throw platform::RuntimeError(number, std::string(kErrorSource), description);
}

void RaiseNoSuchMember(std::string_view type, std::string_view member) {
    Raise(platform::kNoSuchMember, std::string(type) + " has no member " + std::string(member));
}

void ExpectArguments(std::span<const platform::Argument> arguments, std::size_t count) {
    if (arguments.size() != count)
        Raise(platform::kWrongArgumentCount, "Wrong number of arguments: " + std::to_string(arguments.size()) +
                                                 " instead of " + std::to_string(count));
}

}  // namespace iqrx::erp::extract
