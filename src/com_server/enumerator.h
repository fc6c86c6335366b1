// A COM enumerator over a list as it was when the enumerator was made.
#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "platform/windows/com_error.h"
#include "platform/windows/counted.h"

namespace iqrx::hosting::windows {

// `Interface` is an IEnum... of `Item`. The list's functions own what an item stands for; each hands it out
// with a reference of its own. `owner` is the object that the enumerator keeps alive.
template <class Interface, class Item>
class Enumerator final : public Counted<Interface> {
public:
    using List = std::vector<std::function<Item()>>;

    // Hands out a new one over what `fill` puts into the list.
    template <class Fill>
    static HRESULT Create(Interface** enumerator, IUnknown& owner, Fill fill) {
        if (enumerator == nullptr) return E_POINTER;
        *enumerator = nullptr;
        return Guarded([&] {
            const auto list = std::make_shared<List>();
            fill(*list);
            *enumerator = new Enumerator(list, ComRef<IUnknown>::Share(&owner), 0);
        });
    }

    HRESULT STDMETHODCALLTYPE Next(ULONG count, Item* items, ULONG* fetched) override {
        if (items == nullptr || (fetched == nullptr && count != 1)) return E_POINTER;
        ULONG copied = 0;
        for (; copied < count && next_ < list_->size(); ++copied) items[copied] = (*list_)[next_++]();
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
        return Guarded([&] { *clone = new Enumerator(list_, owner_, next_); });
    }

private:
    Enumerator(std::shared_ptr<const List> list, ComRef<IUnknown> owner, std::size_t next)
        : list_(std::move(list)), owner_(std::move(owner)), next_(next) {}

    const std::shared_ptr<const List> list_;
    ComRef<IUnknown> owner_;
    std::size_t next_;
};

}  // namespace iqrx::hosting::windows
