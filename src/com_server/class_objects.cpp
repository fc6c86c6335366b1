#include "com_server/class_objects.h"

#include "platform/windows/com_error.h"

namespace iqrx::hosting::windows {

using platform::windows::Check;

DWORD ComClassObjects::Register(REFCLSID classId, IUnknown* factory, DWORD use) {
    DWORD entry = 0;
    Check(CoRegisterClassObject(classId, factory, CLSCTX_LOCAL_SERVER, use, &entry), "CoRegisterClassObject");
    return entry;
}

void ComClassObjects::Resume() { Check(CoResumeClassObjects(), "CoResumeClassObjects"); }

void ComClassObjects::Revoke(DWORD entry) noexcept { CoRevokeClassObject(entry); }

HRESULT ComClassObjects::CreateElsewhere(REFCLSID classId, REFIID iid, void** object) noexcept {
    return CoCreateInstance(classId, nullptr, CLSCTX_LOCAL_SERVER, iid, object);
}

}  // namespace iqrx::hosting::windows
