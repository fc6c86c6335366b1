// Any object as an IDispatch, for COM objects that are handed one of ours.
#pragma once

#include <string>

#include "platform/object.h"
#include "platform/windows/counted.h"

namespace iqrx::platform::windows {

class DispatchAdapter final : public Counted<IDispatch> {
public:
    static ComRef<IDispatch> Around(ObjectRef object);
    // The object inside, when the interface is one of ours in this process; else null.
    static ObjectRef Inside(IDispatch* dispatch);

    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override;
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return DISP_E_BADINDEX; }
    // Every name has an id, the same for all objects of the process, because an object says only when it is
    // called whether it has the member.
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) override;
    HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* parameters,
                                     VARIANT* result, EXCEPINFO* exception, UINT*) override;

private:
    explicit DispatchAdapter(ObjectRef object) : object_(std::move(object)) {}
    void Call(const std::string& member, const DISPPARAMS& parameters, VARIANT* result);

    ObjectRef object_;
};

}  // namespace iqrx::platform::windows
