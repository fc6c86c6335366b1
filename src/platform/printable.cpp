#include "platform/printable.h"

#include "platform/text.h"

namespace iqrx::platform {

namespace {

void AppendCode(std::string& text, char c) {
    constexpr std::string_view kHex = "0123456789ABCDEF";
    const auto code = static_cast<unsigned char>(c);
    text.append("\\x").append({kHex[code >> 4U], kHex[code & 15U]});
}

}  // namespace

std::string Printable(std::string_view text, std::size_t longest) {
    std::string printable;
    for (std::size_t characters = 0; !text.empty(); ++characters) {
        if (characters == longest) return printable += "...";
        const std::string_view rest = text;
        const char32_t character = TakeCharacter(text);
        const std::string_view bytes = rest.substr(0, rest.size() - text.size());
        const bool isMalformed = character >= 0x80 && bytes.size() == 1;
        if (isMalformed || character < 0x20 || character == 0x7F)
            AppendCode(printable, bytes.front());
        else
            printable += bytes;
    }
    return printable;
}

std::string OneLine(std::string_view text) {
    std::string line;
    for (const char c : text)
        if (c != '\r') line += c == '\n' ? ' ' : c;
    return line;
}

std::string Shown(const std::filesystem::path& path) { return Printable(Utf8(path)); }

std::string Quoted(std::string_view text) {
    constexpr std::size_t kLongest = 100;
    return "'" + Printable(text, kLongest) + "'";
}

}  // namespace iqrx::platform
