// Creates the objects of one public class.
#pragma once

#include <atomic>
#include <functional>

#include "com_server/lifetime.h"

namespace iqrx::hosting::windows {

class ClassFactory final : public IClassFactory {
public:
    // Hands out an interface of a new object. May raise RuntimeError.
    using Create = std::function<HRESULT(REFIID iid, void** object)>;

    ClassFactory(ServerLifetime& lifetime, Create create) : lifetime_(lifetime), create_(std::move(create)) {}
    ClassFactory(const ClassFactory&) = delete;
    ClassFactory& operator=(const ClassFactory&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override;
    ULONG STDMETHODCALLTYPE AddRef() override { return ++references_; }
    ULONG STDMETHODCALLTYPE Release() override;
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid, void** object) override;
    HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override;

private:
    ~ClassFactory() = default;

    ServerLifetime& lifetime_;
    Create create_;
    std::atomic<ULONG> references_{1};
};

}  // namespace iqrx::hosting::windows
