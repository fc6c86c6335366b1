// The type library that the program file carries, and the C++ declarations of what it describes.
#pragma once

#include "platform/windows/com_error.h"
#include "platform/windows/machine.h"
// Made from the IDL; after com.h, whose types it uses.
#include "iqrxyqrxsync.h"

namespace iqrx::hosting::windows {

class TypeLibrary {
public:
    TypeLibrary() {  // raises RuntimeError when the program file has none
        const std::wstring file = platform::windows::ProgramFile().native();
        Check(LoadTypeLibEx(file.c_str(), REGKIND_NONE, library_.Put()));
    }

    // An interface or a class of the library.
    platform::windows::ComRef<ITypeInfo> InfoOf(REFGUID id) const {
        platform::windows::ComRef<ITypeInfo> info;
        Check(library_->GetTypeInfoOfGuid(id, info.Put()));
        return info;
    }
    GUID Id() const {
        TLIBATTR* attributes = nullptr;
        Check(library_->GetLibAttr(&attributes));
        const GUID id = attributes->guid;
        library_->ReleaseTLibAttr(attributes);
        return id;
    }

private:
    static void Check(HRESULT result) { platform::windows::Check(result, "type library"); }

    platform::windows::ComRef<ITypeLib> library_;
};

}  // namespace iqrx::hosting::windows
