// Creates the objects of one public class.
#pragma once

#include <functional>

#include "com_server/lifetime.h"
#include "platform/windows/counted.h"

namespace iqrx::hosting::windows {

class ClassFactory final : public platform::windows::Counted<IClassFactory> {
public:
    // Hands out an interface of a new object. May raise RuntimeError.
    using Create = std::function<HRESULT(REFIID iid, void** object)>;

    ClassFactory(ServerLifetime& lifetime, Create create) : lifetime_(lifetime), create_(std::move(create)) {}
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid, void** object) override;
    HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override;

private:
    ServerLifetime& lifetime_;
    Create create_;
};

}  // namespace iqrx::hosting::windows
