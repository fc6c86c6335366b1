// What makes the objects of the public classes, and how long a process that COM started lives for them: until
// its last object and its last lock go.
#pragma once

#include <functional>

#include "com_server/com_requests.h"
#include "com_server/type_library.h"
#include "platform/windows/com_error.h"
#include "platform/windows/counted.h"

namespace iqrx::hosting::windows {

using platform::windows::ComRef;
using platform::windows::Counted;
using platform::windows::Guarded;

// Counts, as an object counts its references, on the thread that created it, and ends that thread's message
// loop when nothing is left.
class ServerLifetime {
public:
    void AddRef() { CoAddRefServerProcess(); }
    void Release() {
        // At zero COM also turns new clients away, so that none gets a server that is about to leave.
        if (CoReleaseServerProcess() == 0) PostThreadMessageW(thread_, WM_QUIT, 0, 0);
    }

private:
    DWORD thread_ = GetCurrentThreadId();
};

// Creates the objects of one public class.
class ClassFactory final : public Counted<IClassFactory> {
public:
    // Hands out an interface of a new object. May raise RuntimeError.
    using Create = std::function<HRESULT(REFIID iid, void** object)>;

    ClassFactory(ServerLifetime& lifetime, Create create) : lifetime_(lifetime), create_(std::move(create)) {}

    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid, void** object) override {
        *object = nullptr;
        if (outer != nullptr) return CLASS_E_NOAGGREGATION;
        HRESULT created = E_FAIL;
        const HRESULT called = Guarded([&] { created = create_(iid, object); });
        return FAILED(called) ? called : created;
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override {
        lock ? lifetime_.AddRef() : lifetime_.Release();
        return S_OK;
    }

private:
    ServerLifetime& lifetime_;
    Create create_;
};

// Creates an object of a public class. All is borrowed, for as long as the object lives.
using CreatePublicObject = ComRef<IDispatch>(ServerLifetime& lifetime, const TypeLibrary& library,
                                             ComRequests& requests);

CreatePublicObject CreateHandler;   // clsDataCopyHandler
CreatePublicObject CreateDataCopy;  // clsDataCopy, with its events

}  // namespace iqrx::hosting::windows
