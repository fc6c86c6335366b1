#include "platform/printable.h"

#include <utf8.h>

namespace iqrx::platform {

namespace {

// Bytes of the character that the text begins with; 0 where it begins with none.
std::size_t FirstCharacter(std::string_view text) {
    constexpr std::size_t kLongestCharacter = 4;
    if (utf8::find_invalid(text.substr(0, kLongestCharacter)) == 0) return 0;
    const char* next = text.data();
    utf8::unchecked::next(next);
    return static_cast<std::size_t>(next - text.data());
}

bool IsControl(char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; }

void AppendCode(std::string& text, char c) {
    constexpr std::string_view kHex = "0123456789ABCDEF";
    const auto code = static_cast<unsigned char>(c);
    text += "\\x";
    text += kHex[code >> 4];
    text += kHex[code & 15];
}

}  // namespace

std::string Printable(std::string_view text, std::size_t longest) {
    std::string printable;
    for (std::size_t characters = 0; !text.empty(); ++characters) {
        if (characters == longest) return printable += "...";
        const std::size_t length = FirstCharacter(text);
        if (length == 0 || IsControl(text.front())) {
            AppendCode(printable, text.front());
            text.remove_prefix(1);
        } else {
            printable += text.substr(0, length);
            text.remove_prefix(length);
        }
    }
    return printable;
}

std::string Shown(const std::filesystem::path& path) {
    const std::u8string text = path.u8string();
    return Printable({reinterpret_cast<const char*>(text.data()), text.size()});
}

std::string Quoted(std::string_view text) {
    constexpr std::size_t kLongest = 100;
    return "'" + Printable(text, kLongest) + "'";
}

}  // namespace iqrx::platform
