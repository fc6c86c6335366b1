// A COM enumerator over a list as it was when the enumerator was made.
#pragma once

#include <atomic>
#include <memory>
#include <vector>

#include "platform/windows/com_error.h"

namespace iqrx::hosting::windows {

// `Interface` is an IEnum... of `Item`. `Kept` owns what an item stands for; its HandOut() returns an item
// with a reference of its own. `owner` is the object that the enumerator keeps alive.
template <class Interface, class Item, class Kept>
class Enumerator final : public Interface {
public:
    using List = std::shared_ptr<const std::vector<Kept>>;

    // A new one with one reference, which the caller owns.
    static Interface* Create(List list, platform::windows::ComRef<IUnknown> owner, std::size_t next = 0) {
        return new Enumerator(std::move(list), std::move(owner), next);
    }
    Enumerator(const Enumerator&) = delete;
    Enumerator& operator=(const Enumerator&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
        const bool known = iid == IID_IUnknown || iid == __uuidof(Interface);
        *object = known ? this : nullptr;
        if (!known) return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++references_; }
    ULONG STDMETHODCALLTYPE Release() override {
        const ULONG left = --references_;
        if (left == 0) delete this;
        return left;
    }

    HRESULT STDMETHODCALLTYPE Next(ULONG count, Item* items, ULONG* fetched) override {
        if (items == nullptr || (fetched == nullptr && count != 1)) return E_POINTER;
        ULONG copied = 0;
        for (; copied < count && next_ < list_->size(); ++copied) items[copied] = (*list_)[next_++].HandOut();
        if (fetched != nullptr) *fetched = copied;
        return copied == count ? S_OK : S_FALSE;
    }
    HRESULT STDMETHODCALLTYPE Skip(ULONG count) override {
        const std::size_t left = list_->size() - next_;
        next_ += count < left ? count : left;
        return count <= left ? S_OK : S_FALSE;
    }
    HRESULT STDMETHODCALLTYPE Reset() override {
        next_ = 0;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Clone(Interface** clone) override {
        if (clone == nullptr) return E_POINTER;
        *clone = nullptr;
        return platform::windows::Guarded([&] { *clone = Create(list_, owner_, next_); });
    }

private:
    Enumerator(List list, platform::windows::ComRef<IUnknown> owner, std::size_t next)
        : list_(std::move(list)), owner_(std::move(owner)), next_(next) {}
    ~Enumerator() = default;

    List list_;
    platform::windows::ComRef<IUnknown> owner_;
    std::size_t next_;
    std::atomic<ULONG> references_{1};
};

}  // namespace iqrx::hosting::windows
