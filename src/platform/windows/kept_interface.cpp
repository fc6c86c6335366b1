#include "platform/windows/kept_interface.h"

#include "platform/windows/com_error.h"
#include "platform/windows/dispatch_adapter.h"

namespace iqrx::platform::windows {

void KeepInterface(REFIID iid, IUnknown* object) {
    ComRef<IStream> stream;
    Check(CreateStreamOnHGlobal(nullptr, TRUE, stream.Put()), "CreateStreamOnHGlobal");
    Check(CoMarshalInterface(stream.Get(), iid, object, MSHCTX_LOCAL, nullptr, MSHLFLAGS_TABLESTRONG),
          "CoMarshalInterface");
}

void KeepDispatchInterfaces() {
    const auto object = DispatchAdapter::Around(nullptr);
    KeepInterface(IID_IUnknown, object.Get());
    KeepInterface(IID_IDispatch, object.Get());
}

}  // namespace iqrx::platform::windows
