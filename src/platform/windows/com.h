// Owners of what COM hands out: each releases in its destructor.
// For the source files of the COM edge only, since it draws in the Windows headers.
#pragma once

#include <windows.h>
// After windows.h, whose types it uses.
#include <ocidl.h>
#include <oleauto.h>
#include <olectl.h>

#include <string_view>
#include <utility>

#include "platform/windows/text.h"

namespace iqrx::platform::windows {

template <class Interface>
class ComRef {
public:
    ComRef() = default;
    ComRef(const ComRef& other) : pointer_(other.pointer_) {
        if (pointer_) pointer_->AddRef();
    }
    ComRef(ComRef&& other) noexcept : pointer_(std::exchange(other.pointer_, nullptr)) {}
    ComRef& operator=(ComRef other) noexcept {
        std::swap(pointer_, other.pointer_);
        return *this;
    }
    ~ComRef() {
        if (pointer_) pointer_->Release();
    }

    static ComRef Adopt(Interface* owned) {  // takes over the caller's reference
        ComRef ref;
        ref.pointer_ = owned;
        return ref;
    }
    static ComRef Share(Interface* borrowed) {  // adds a reference of its own
        if (borrowed) borrowed->AddRef();
        return Adopt(borrowed);
    }

    template <class Other>
    ComRef<Other> As() const {  // empty when the object has no such interface
        ComRef<Other> other;
        if (pointer_) pointer_->QueryInterface(__uuidof(Other), other.PutVoid());
        return other;
    }

    Interface* Get() const { return pointer_; }
    Interface* operator->() const { return pointer_; }
    explicit operator bool() const { return pointer_ != nullptr; }
    Interface* Detach() { return std::exchange(pointer_, nullptr); }
    Interface** Put() {  // for a call that stores a reference; lets go of the present one
        *this = ComRef();
        return &pointer_;
    }
    void** PutVoid() { return reinterpret_cast<void**>(Put()); }

private:
    Interface* pointer_ = nullptr;
};

// What an object's class is told by, without a call.
inline const void* MethodTable(const IUnknown* object) {
    return *reinterpret_cast<const void* const*>(object);
}

class Bstr {
public:
    explicit Bstr(std::string_view utf8) : Bstr(Wide(utf8)) {}
    explicit Bstr(std::wstring_view wide)
        : text_(SysAllocStringLen(wide.data(), static_cast<UINT>(wide.size()))) {}
    Bstr(const Bstr&) = delete;
    Bstr& operator=(const Bstr&) = delete;
    ~Bstr() { SysFreeString(text_); }

    BSTR Get() const { return text_; }
    BSTR Detach() { return std::exchange(text_, nullptr); }

private:
    BSTR text_;
};

inline std::string FromBstr(BSTR text) { return Utf8({text, SysStringLen(text)}); }  // null: empty

class Variant : public VARIANT {
public:
    Variant() { VariantInit(this); }
    Variant(const Variant&) = delete;
    Variant& operator=(const Variant&) = delete;
    ~Variant() { VariantClear(this); }
};

}  // namespace iqrx::platform::windows
