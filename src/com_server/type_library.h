// The type library that the program file carries.
#pragma once

#include "platform/windows/com.h"

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
