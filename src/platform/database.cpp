#include "platform/database.h"

#include <algorithm>
#include <array>

namespace iqrx::platform {

bool SpeakOfLostConnection(const Errors& errors) {
    // 57P0x: PostgreSQL's own words for a server that is going away.
    constexpr std::array<std::string_view, 7> kLost{"08003", "08006", "08007", "08S01",
                                                    "57P01", "57P02", "57P03"};
    return std::ranges::any_of(errors, [&](const ErrorEntry& entry) {
        return std::ranges::find(kLost, entry.sqlState) != kLost.end();
    });
}

}  // namespace iqrx::platform
