#include "platform/utf8.h"

#include <utf8.h>

#include <cstdint>
#include <cstring>

namespace iqrx::platform {

// Eight bytes at a time, since it is asked of all that is read.
bool IsAscii(std::string_view text) {
    constexpr std::uint64_t kHighBits = 0x8080808080808080U;
    std::uint64_t seen = 0;
    for (; text.size() >= sizeof seen; text.remove_prefix(sizeof seen)) {
        std::uint64_t eight = 0;
        std::memcpy(&eight, text.data(), sizeof eight);
        seen |= eight;
    }
    for (const char c : text) seen |= static_cast<unsigned char>(c);
    return (seen & kHighBits) == 0;
}

bool IsUtf8(std::string_view text) {
    return IsAscii(text) || utf8::find_invalid(text) == std::string_view::npos;
}

}  // namespace iqrx::platform
