// The thread's stay in COM, of a test that leaves it again.
#pragma once

#include "platform/windows/apartment.h"

namespace iqrx::platform::windows {

class Apartment {
public:
    Apartment() { EnterApartment(); }
    Apartment(const Apartment&) = delete;
    Apartment& operator=(const Apartment&) = delete;
    ~Apartment() { CoUninitialize(); }
};

}  // namespace iqrx::platform::windows
