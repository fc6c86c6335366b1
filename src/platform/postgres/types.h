// Numbers of the server's own types, which never change.
#pragma once

#include "platform/postgres/handles.h"

namespace iqrx::platform::postgres {

enum Type : Oid {
    kBoolean = 16,
    kWhole8 = 20,
    kWhole2 = 21,
    kWhole4 = 23,
    kText = 25,
    kReal4 = 700,
    kReal8 = 701,
    kTexts = 1009,
    kFixedText = 1042,
    kVaryingText = 1043,
    kDay = 1082,
    kMoment = 1114,
    kMomentWithZone = 1184,
    kNumeric = 1700,
};

}  // namespace iqrx::platform::postgres
