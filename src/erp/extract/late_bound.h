// What the extract's late-bound classes share: errors, argument checks, and objects handed back to them.
#pragma once

#include <filesystem>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <system_error>

#include "platform/error.h"
#include "platform/object.h"

namespace iqrx::erp::extract {

[[noreturn]] void Raise(platform::ErrorNumber number, const std::string& description);
[[noreturn]] void RaiseNoSuchMember(std::string_view type, std::string_view member);
[[noreturn]] void RaiseWrongObject(std::string_view wanted);
[[noreturn]] void RaiseUnreadable(const std::string& path, const std::error_code& error);

void ExpectArguments(std::span<const platform::Argument> arguments, std::size_t count);

// As an error shows them: a path, and text from a file in quotes, cut where it is long.
std::string Shown(const std::filesystem::path& path);
std::string Quoted(std::string_view text);

// The object in an argument as the class that made it; `wanted` names the class, article included, in the error.
template <class T>
std::shared_ptr<T> ObjectOf(const platform::Value& value, std::string_view wanted) {
    std::shared_ptr<T> object;
    if (value.Is<platform::ObjectRef>())
        object = std::dynamic_pointer_cast<T>(value.As<platform::ObjectRef>());
    if (!object) RaiseWrongObject(wanted);
    return object;
}

}  // namespace iqrx::erp::extract
