#include "platform/sqlite/unlocked.h"

#include "platform/text.h"

namespace iqrx::platform::sqlite {

namespace fs = std::filesystem;

bool Unlocked::IsPossible(const fs::path& file) {
    fs::path log = file;
    log += "-wal";
    std::error_code unknown;
    const fs::file_status status = fs::status(log, unknown);
    return status.type() == fs::file_type::not_found;
}

std::string Unlocked::Uri() const {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    std::string uri = "file:";
    for (const char c : Utf8(fs::absolute(file_))) {
        if (c == '%' || c == '?' || c == '#') {
            const auto code = static_cast<unsigned char>(c);
            uri += {'%', kDigits[code >> 4], kDigits[code & 0xF]};
        } else {
            uri += c;
        }
    }
    return uri + "?immutable=1";
}

Unlocked::State Unlocked::StateOf(const fs::path& file) {
    std::error_code unknown;
    return {fs::file_size(file, unknown), fs::last_write_time(file, unknown)};
}

}  // namespace iqrx::platform::sqlite
