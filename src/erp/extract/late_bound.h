// What the extract's late-bound classes share: errors, argument checks, and objects handed back to them.
#pragma once

#include <filesystem>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "platform/error.h"
#include "platform/object.h"

namespace iqrx::erp::extract {

[[noreturn]] void Raise(platform::ErrorNumber number, const std::string& description);
[[noreturn]] void RaiseNoSuchMember(std::string_view type, std::string_view member);
[[noreturn]] void RaiseWrongObject(std::string_view wanted);

void ExpectArguments(std::span<const platform::Argument> arguments, std::size_t count);

std::string Utf8(const std::filesystem::path& path);

// Raises "file access" with the file's name for one whose existence can't be found out.
bool Exists(const std::filesystem::path& file);

// The object in an argument as the class that made it; `wanted` names the class in the error.
template <class T>
std::shared_ptr<T> ObjectOf(const platform::Value& value, std::string_view wanted) {
    std::shared_ptr<T> object;
    if (value.Is<platform::ObjectRef>())
        object = std::dynamic_pointer_cast<T>(value.As<platform::ObjectRef>());
    if (!object) RaiseWrongObject(wanted);
    return object;
}

}  // namespace iqrx::erp::extract
