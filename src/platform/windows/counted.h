// What every object of ours that COM calls shares: its reference count, which begins at one.
#pragma once

#include <atomic>

#include "platform/windows/com.h"

namespace iqrx::platform::windows {

template <class Interface, class... Others>
class Counted : public Interface, public Others... {
public:
    Counted(const Counted&) = delete;
    Counted& operator=(const Counted&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
        *object = Find(iid);
        if (*object == nullptr) return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++references_; }
    ULONG STDMETHODCALLTYPE Release() override {
        const ULONG left = --references_;
        if (left == 0) delete this;
        return left;
    }

protected:
    Counted() = default;
    virtual ~Counted() = default;

    // The object as the interface, or null when it has no such one.
    virtual void* Find(REFIID iid) {
        return iid == IID_IUnknown || iid == __uuidof(Interface) ? static_cast<Interface*>(this) : nullptr;
    }

private:
    std::atomic<ULONG> references_{1};
};

}  // namespace iqrx::platform::windows
