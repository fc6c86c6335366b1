// The type library that the program file carries, and the C++ declarations of what it describes.
#pragma once

#include "platform/windows/com.h"
// Made from the IDL; after com.h, whose types it uses.
#include "iqrxyqrxsync.h"

namespace iqrx::hosting::windows {

class TypeLibrary {
public:
    TypeLibrary();  // raises RuntimeError when the program file has none

    platform::windows::ComRef<ITypeInfo> InfoOf(REFGUID id) const;  // an interface or a class of the library
    GUID Id() const;

private:
    platform::windows::ComRef<ITypeLib> library_;
};

}  // namespace iqrx::hosting::windows
