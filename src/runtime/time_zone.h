#pragma once

#include "platform/machine.h"

namespace iqrx::runtime {

// Local to UTC by the zone's standard offset only: summer time is not taken into account, so that a moment
// has the same distance to UTC all year round.
platform::Date LocalToUtc(platform::Date local, platform::TimeZone& timeZone);

}  // namespace iqrx::runtime
