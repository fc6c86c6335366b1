#include "platform/posix/time_zone.h"

#include <algorithm>
#include <ctime>
#include <optional>

namespace iqrx::platform::posix {

namespace {

constexpr std::time_t kWeek = 7 * 86400;

// Seconds east of Greenwich in standard time: the offset of the first week from now on that has no summer
// time. Some zones keep their summer time as the standard one and call the winter a time set back; theirs is
// the winter's offset, as everywhere else.
long StandardOffset() {
    const std::time_t now = std::time(nullptr);
    std::optional<long> standard, setBack;
    for (int week = 0; week < 53; ++week) {
        const std::time_t moment = now + week * kWeek;
        std::tm local{};
        localtime_r(&moment, &local);
        if (local.tm_isdst > 0)
            setBack = std::min(setBack.value_or(local.tm_gmtoff), local.tm_gmtoff);
        else if (!standard)
            standard = local.tm_gmtoff;
    }
    if (!standard) return setBack.value_or(0);
    return std::min(*standard, setBack.value_or(*standard));
}

}  // namespace

StandardTimeZone::StandardTimeZone() {
    tzset();
    biasMinutes_ = static_cast<int>(-StandardOffset() / 60);
}

}  // namespace iqrx::platform::posix
