// What every public class shares: a dual interface described by the type library, error information, and the
// class information that scripting clients ask for before they connect to events.
#pragma once

#include "com_server/class_factory.h"
#include "platform/windows/com_error.h"
#include "platform/windows/counted.h"

namespace iqrx::hosting::windows {

template <class Interface, class... Others>
class ComClass : public Counted<Interface, ISupportErrorInfo, IProvideClassInfo2, Others...> {
    using Base = Counted<Interface, ISupportErrorInfo, IProvideClassInfo2, Others...>;

public:
    ComClass(ServerLifetime& lifetime, const TypeLibrary& library, REFCLSID classId, REFIID eventsId)
        : lifetime_(ComRef<ServerLifetime>::Share(&lifetime)),
          interfaceInfo_(library.InfoOf(__uuidof(Interface))),
          classInfo_(library.InfoOf(classId)),
          eventsId_(eventsId) {}

    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override {
        *count = 1;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, LCID, ITypeInfo** info) override {
        *info = nullptr;
        if (index != 0) return DISP_E_BADINDEX;
        *info = ComRef(interfaceInfo_).Detach();
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) override {
        return interfaceInfo_->GetIDsOfNames(names, count, ids);
    }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* parameters,
                                     VARIANT* result, EXCEPINFO* exception, UINT* wrongArgument) override {
        return interfaceInfo_->Invoke(static_cast<Interface*>(this), id, flags, parameters, result, exception,
                                      wrongArgument);
    }

    HRESULT STDMETHODCALLTYPE InterfaceSupportsErrorInfo(REFIID iid) override {
        return iid == __uuidof(Interface) ? S_OK : S_FALSE;
    }

    HRESULT STDMETHODCALLTYPE GetClassInfo(ITypeInfo** info) override {
        *info = ComRef(classInfo_).Detach();
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetGUID(DWORD kind, GUID* guid) override {
        if (kind != GUIDKIND_DEFAULT_SOURCE_DISP_IID || eventsId_ == IID_NULL) return E_INVALIDARG;
        *guid = eventsId_;
        return S_OK;
    }

protected:
    void* Find(REFIID iid) override {
        if (iid == IID_IDispatch) return static_cast<Interface*>(this);
        if (iid == IID_ISupportErrorInfo) return static_cast<ISupportErrorInfo*>(this);
        if (iid == IID_IProvideClassInfo || iid == IID_IProvideClassInfo2)
            return static_cast<IProvideClassInfo2*>(this);
        return Base::Find(iid);
    }

    // A public method, which raises nothing to its caller: what it fails with goes to `log`. The object stays
    // while it runs, though its client may be gone by then.
    template <class Body, class Log>
    HRESULT Method(Body body, Log log) noexcept {
        const auto alive = ComRef<Interface>::Share(this);
        try {
            try {
                body();
            } catch (...) {
                log(platform::CurrentError());
            }
        } catch (...) {
            // A failure that cannot be told anywhere.
        }
        return S_OK;
    }

private:
    ComRef<ServerLifetime> lifetime_;  // the process lives as long as the object
    ComRef<ITypeInfo> interfaceInfo_;
    ComRef<ITypeInfo> classInfo_;
    IID eventsId_;  // IID_NULL: no events
};

}  // namespace iqrx::hosting::windows
