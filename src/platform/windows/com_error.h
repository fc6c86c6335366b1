// COM's failures as run-time errors and back: one function each way.
#pragma once

#include <string_view>

#include "platform/error.h"
#include "platform/windows/com.h"

namespace iqrx::platform::windows {

// The error that a call ended with. `exception` is what the callee said in an EXCEPINFO, or null; its texts
// are freed. Where it said nothing, the source is the program and the description Windows' own for the code,
// followed by `context`.
RuntimeError ErrorOfCall(HRESULT result, EXCEPINFO* exception, std::string_view context);

// Raises the error above when the call failed.
inline void Check(HRESULT result, std::string_view context) {
    if (FAILED(result)) throw ErrorOfCall(result, nullptr, context);
}

HRESULT ResultOf(const RuntimeError& error);
void FillException(const RuntimeError& error, EXCEPINFO& exception);

// Tells the caller of a dual interface: the thread's error object and the code to return.
HRESULT Report(const RuntimeError& error);

// Runs the body of a method that COM calls. Nothing leaves it but a result code.
template <class Body>
HRESULT Guarded(Body body) noexcept {
    try {
        body();
        return S_OK;
    } catch (...) {
        return Report(CurrentError());
    }
}

}  // namespace iqrx::platform::windows
