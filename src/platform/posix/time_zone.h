// The machine's time zone, which TZ names or else the system.
#pragma once

#include "platform/machine.h"

namespace iqrx::platform::posix {

// The offset without summer time, found once when the object is made.
class StandardTimeZone : public TimeZone {
public:
    StandardTimeZone();
    int BiasMinutes() override { return biasMinutes_; }

private:
    int biasMinutes_;
};

}  // namespace iqrx::platform::posix
