#include "com_server/class_factory.h"

#include "platform/windows/com_error.h"

namespace iqrx::hosting::windows {

HRESULT ClassFactory::CreateInstance(IUnknown* outer, REFIID iid, void** object) {
    *object = nullptr;
    if (outer != nullptr) return CLASS_E_NOAGGREGATION;
    HRESULT created = E_FAIL;
    const HRESULT called = platform::windows::Guarded([&] { created = create_(iid, object); });
    return FAILED(called) ? called : created;
}

HRESULT ClassFactory::LockServer(BOOL lock) {
    lock ? lifetime_.Hold() : lifetime_.Release();
    return S_OK;
}

}  // namespace iqrx::hosting::windows
