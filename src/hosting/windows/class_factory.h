// Creates the objects of one public class.
#pragma once

#include <atomic>
#include <functional>

#include "hosting/windows/lifetime.h"

namespace iqrx::hosting::windows {

class ClassFactory final : public IClassFactory {
public:
    // Answers a new object with one reference, which the caller owns.
    using Create = std::function<IUnknown*()>;

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

// Offers a class to one client for as long as it lives: a process serves the request it was started for.
class SingleUseRegistration {
public:
    SingleUseRegistration(REFCLSID classId, platform::windows::ComRef<ClassFactory> factory);
    SingleUseRegistration(const SingleUseRegistration&) = delete;
    SingleUseRegistration& operator=(const SingleUseRegistration&) = delete;
    ~SingleUseRegistration() { CoRevokeClassObject(cookie_); }

private:
    DWORD cookie_ = 0;
};

}  // namespace iqrx::hosting::windows
