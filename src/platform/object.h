// Late-bound objects: members are called by name with automation values.
#pragma once

#include <array>
#include <concepts>
#include <span>
#include <string_view>
#include <utility>

#include "platform/error.h"
#include "platform/value.h"

namespace iqrx::platform {

struct Argument {
    Value value;
    bool byReference = false;  // the callee may leave another value; the caller reads it back
};

class Object {
public:
    virtual ~Object() = default;

    // Calls a method or reads a property. Member names are not case-sensitive to automation, but are given as
    // the class spells them. Raises RuntimeError: the member's own error, or "no such member".
    virtual Value Invoke(std::string_view member, std::span<Argument> arguments) = 0;

    // Sets a property; there is none unless a class has its own. Raises RuntimeError.
    virtual void Set(std::string_view member, const Value&) {
        RaiseRuntimeError(kNoSuchMember, std::string(member));
    }

    Value Get(std::string_view member) { return Invoke(member, {}); }
};

// Marks an argument of Call whose value is read back after the call.
struct ByRef {
    Value& value;
};

template <class... Arguments>
Value Call(Object& object, std::string_view member, Arguments&&... arguments) {
    [[maybe_unused]] auto pass = []<class A>(A&& argument) -> Argument {
        if constexpr (std::same_as<std::remove_cvref_t<A>, ByRef>)
            return {argument.value, true};
        else
            return {Value(std::forward<A>(argument)), false};
    };
    std::array<Argument, sizeof...(Arguments)> passed{pass(std::forward<Arguments>(arguments))...};
    Value result = object.Invoke(member, passed);
    [[maybe_unused]] auto readBack = [next = passed.begin()]<class A>(A&& argument) mutable {
        if constexpr (std::same_as<std::remove_cvref_t<A>, ByRef>) argument.value = std::move(next->value);
        ++next;
    };
    (readBack(arguments), ...);
    return result;
}

// Creates objects by ProgID.
class ObjectFactory {
public:
    virtual ~ObjectFactory() = default;
    // Raises RuntimeError 429 when no such class can be created on this machine.
    virtual ObjectRef CreateObject(std::string_view progId) = 0;
};

}  // namespace iqrx::platform
