#include "platform/windows/apartment.h"

#include <cstdio>
#include <cstdlib>
#include <iostream>

#include "platform/windows/com_object.h"

namespace iqrx::platform::windows {

void KeepInterface(REFIID iid, IUnknown* object) {
    ComRef<IStream> stream;
    Check(CreateStreamOnHGlobal(nullptr, TRUE, stream.Put()), "CreateStreamOnHGlobal");
    Check(CoMarshalInterface(stream.Get(), iid, object, MSHCTX_LOCAL, nullptr, MSHLFLAGS_TABLESTRONG),
          "CoMarshalInterface");
}

void KeepDispatchInterfaces() {
    const auto object = AdapterAround(nullptr);
    KeepInterface(IID_IUnknown, object.Get());
    KeepInterface(IID_IDispatch, object.Get());
}

void LeaveProcess(int exitCode) {
    std::cout.flush();
    std::cerr.flush();
    std::fflush(nullptr);
    // Not ExitProcess, which calls the DLLs' entry points, nor exit, which ends there: they may wait for a
    // thread or a lock of one that is gone.
    TerminateProcess(GetCurrentProcess(), static_cast<UINT>(exitCode));
    std::abort();  // never reached
}

}  // namespace iqrx::platform::windows
