#include "hosting/windows/class_factory.h"

#include "platform/windows/com_error.h"

namespace iqrx::hosting::windows {

using platform::windows::ComRef;

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
    return platform::windows::Guarded([&] {
        const auto created = ComRef<IUnknown>::Adopt(create_());
        platform::windows::Check(created->QueryInterface(iid, object), "CreateInstance");
    });
}

HRESULT ClassFactory::LockServer(BOOL lock) {
    lock ? lifetime_.Hold() : lifetime_.Release();
    return S_OK;
}

SingleUseRegistration::SingleUseRegistration(REFCLSID classId, ComRef<ClassFactory> factory) {
    platform::windows::Check(CoRegisterClassObject(classId, factory.Get(), CLSCTX_LOCAL_SERVER,
                                                   REGCLS_SINGLEUSE | REGCLS_SUSPENDED, &cookie_),
                             "CoRegisterClassObject");
}

}  // namespace iqrx::hosting::windows
