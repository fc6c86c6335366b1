// The thread's entry into COM.
#pragma once

#include "platform/windows/com_error.h"

namespace iqrx::platform::windows {

// Enters a single-threaded apartment for the rest of the thread's life; its process ends by LeaveProcess.
// Raises RuntimeError. What the call returns for an apartment that was entered before counts as well.
inline void EnterApartment() { Check(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), "CoInitializeEx"); }

// The same for as long as it lives.
class Apartment {
public:
    Apartment() { EnterApartment(); }
    Apartment(const Apartment&) = delete;
    Apartment& operator=(const Apartment&) = delete;
    ~Apartment() { CoUninitialize(); }
};

}  // namespace iqrx::platform::windows
