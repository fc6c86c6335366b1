#include "erp/extract/late_bound.h"

#include "platform/printable.h"

namespace iqrx::erp::extract {

void Raise(platform::ErrorNumber number, const std::string& description) {
    throw platform::RuntimeError(number, "ERP extract", description);
}

void RaiseNoSuchMember(std::string_view type, std::string_view member) {
    Raise(platform::kNoSuchMember, std::string(type) + " has no member " + std::string(member));
}

void RaiseWrongObject(std::string_view wanted) {
    Raise(platform::kTypeMismatch, "The argument is not " + std::string(wanted));
}

void RaiseUnreadable(const std::string& path, const std::error_code& error) {
    std::string cause = error.message();
    if (error == std::errc::permission_denied) cause = "Permission denied";
    if (error == std::errc::is_a_directory) cause = "it is a directory";
    Raise(platform::kPathFileAccess, path + " cannot be read: " + cause);
}

void ExpectArguments(std::span<const platform::Argument> arguments, std::size_t count) {
    if (arguments.size() != count)
        Raise(platform::kWrongArgumentCount, "Wrong number of arguments: " + std::to_string(arguments.size()) +
                                                 " instead of " + std::to_string(count));
}

std::string Shown(const std::filesystem::path& path) {
    const std::u8string text = path.u8string();
    return platform::Printable({reinterpret_cast<const char*>(text.data()), text.size()});
}

std::string Quoted(std::string_view text) {
    constexpr std::size_t kLongest = 100;
    return "'" + platform::Printable(text, kLongest) + "'";
}

}  // namespace iqrx::erp::extract
