#include "qrxctl/damage.h"

#include <fmt/format.h>

#include "qrxctl/lines.h"

namespace iqrx::qrxctl {

std::string DamageLine(const std::string& historyFile, const journal::Damage& damage) {
    const bool isOne = damage.lines == 1;
    const bool hasMore = damage.lines > static_cast<std::int64_t>(damage.places.size());
    return Fact("note", "history",
                fmt::format("{} of {} cannot be read: {} {}{}", Counted(damage.lines, "line"), historyFile,
                            isOne ? "line" : "lines", fmt::join(damage.places, ", "), hasMore ? " ..." : ""));
}

}  // namespace iqrx::qrxctl
