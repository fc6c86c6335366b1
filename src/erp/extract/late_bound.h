// What the extract's late-bound classes share: errors, argument checks, and objects handed back to them.
#pragma once

#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "platform/conversions.h"
#include "platform/object.h"
#include "platform/printable.h"

namespace iqrx::erp::extract {

using platform::Quoted;
using platform::Shown;

inline constexpr std::string_view kErrorSource = "ERP extract";

[[noreturn]] inline void Raise(platform::ErrorNumber number, const std::string& description) {
    throw platform::RuntimeError(number, std::string(kErrorSource), description);
}

[[noreturn]] inline void RaiseNoSuchMember(std::string_view type, std::string_view member) {
    Raise(platform::kNoSuchMember, std::string(type) + " has no member " + std::string(member));
}

inline void ExpectArguments(std::span<const Argument> arguments, std::size_t count) {
    if (arguments.size() != count)
        Raise(platform::kWrongArgumentCount, "Wrong number of arguments: " + std::to_string(arguments.size()) +
                                                 " instead of " + std::to_string(count));
}

// The object in an argument as the class that made it; `wanted` names the class, article included, in the error.
template <class T>
std::shared_ptr<T> ObjectOf(const Value& value, std::string_view wanted) {
    auto object = std::dynamic_pointer_cast<T>(platform::ObjectOrNothing(value));
    if (!object) Raise(platform::kTypeMismatch, "The argument is not " + std::string(wanted));
    return object;
}

}  // namespace iqrx::erp::extract
