#include "erp/extract/late_bound.h"

namespace iqrx::erp::extract {

void Raise(platform::ErrorNumber number, const std::string& description) {
    throw platform::RuntimeError(number, "ERP extract", description);
}

void RaiseNoSuchMember(std::string_view type, std::string_view member) {
    Raise(platform::kNoSuchMember, std::string(type) + " has no member " + std::string(member));
}

void RaiseWrongObject(std::string_view wanted) {
    Raise(platform::kTypeMismatch, "The argument is no " + std::string(wanted));
}

void ExpectArguments(std::span<const platform::Argument> arguments, std::size_t count) {
    if (arguments.size() != count)
        Raise(platform::kWrongArgumentCount, "Wrong number of arguments: " + std::to_string(arguments.size()) +
                                                 " instead of " + std::to_string(count));
}

std::string Utf8(const std::filesystem::path& path) {
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}

bool Exists(const std::filesystem::path& file) {
    std::error_code error;
    const auto status = std::filesystem::status(file, error);
    if (status.type() == std::filesystem::file_type::not_found) return false;
    if (error) Raise(platform::kPathFileAccess, Utf8(file) + " cannot be read: " + error.message());
    return true;
}

}  // namespace iqrx::erp::extract
