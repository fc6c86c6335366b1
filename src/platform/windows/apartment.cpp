#include "platform/windows/apartment.h"

#include "platform/windows/com_error.h"

namespace iqrx::platform::windows {

// What the call returns for an apartment that was entered before counts as well.
void EnterApartment() { Check(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), "CoInitializeEx"); }

}  // namespace iqrx::platform::windows
