// Creates the objects of one public class.
#pragma once

#include <functional>

#include "com_server/lifetime.h"
#include "platform/windows/com_error.h"
#include "platform/windows/counted.h"

namespace iqrx::hosting::windows {

class ClassFactory final : public platform::windows::Counted<IClassFactory> {
public:
    // Hands out an interface of a new object. May raise RuntimeError.
    using Create = std::function<HRESULT(REFIID iid, void** object)>;

    ClassFactory(ServerLifetime& lifetime, Create create) : lifetime_(lifetime), create_(std::move(create)) {}

    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid, void** object) override {
        *object = nullptr;
        if (outer != nullptr) return CLASS_E_NOAGGREGATION;
        HRESULT created = E_FAIL;
        const HRESULT called = platform::windows::Guarded([&] { created = create_(iid, object); });
        return FAILED(called) ? called : created;
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override {
        lock ? lifetime_.Hold() : lifetime_.Release();
        return S_OK;
    }

private:
    ServerLifetime& lifetime_;
    Create create_;
};

}  // namespace iqrx::hosting::windows
