#include "runtime/time_zone.h"

#include "platform/date.h"

namespace iqrx::runtime {

platform::Date LocalToUtc(platform::Date local, platform::TimeZone& timeZone) {
    return platform::AddMinutes(local, timeZone.BiasMinutes());
}

}  // namespace iqrx::runtime
