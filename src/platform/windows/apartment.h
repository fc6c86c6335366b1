// The thread's entry into COM.
#pragma once

#include "platform/windows/com.h"

namespace iqrx::platform::windows {

// Enters a single-threaded apartment for the rest of the thread's life; its process ends by LeaveProcess.
// Raises RuntimeError.
void EnterApartment();

// The same for as long as it lives.
class Apartment {
public:
    Apartment() { EnterApartment(); }
    Apartment(const Apartment&) = delete;
    Apartment& operator=(const Apartment&) = delete;
    ~Apartment() { CoUninitialize(); }
};

}  // namespace iqrx::platform::windows
