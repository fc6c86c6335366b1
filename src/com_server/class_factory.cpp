#include "com_server/class_factory.h"

#include "platform/windows/com_error.h"

namespace iqrx::hosting::windows {

HRESULT ClassFactory::QueryInterface(REFIID iid, void** object) {
    const bool known = iid == IID_IUnknown || iid == IID_IClassFactory;
    *object = known ? this : nullptr;
    if (!known) return E_NOINTERFACE;
    AddRef();
    return S_OK;
}

ULONG ClassFactory::Release() {
    const ULONG left = --references_;
    if (left == 0) delete this;
    return left;
}

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
