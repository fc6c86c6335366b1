#include "com_server/type_library.h"

#include "platform/windows/com_error.h"
#include "platform/windows/machine.h"

namespace iqrx::hosting::windows {

using platform::windows::Check;
using platform::windows::ComRef;

TypeLibrary::TypeLibrary() {
    const std::wstring file = platform::windows::ProgramFile().native();
    Check(LoadTypeLibEx(file.c_str(), REGKIND_NONE, library_.Put()), "type library");
}

ComRef<ITypeInfo> TypeLibrary::InfoOf(REFGUID id) const {
    ComRef<ITypeInfo> info;
    Check(library_->GetTypeInfoOfGuid(id, info.Put()), "type library");
    return info;
}

GUID TypeLibrary::Id() const {
    TLIBATTR* attributes = nullptr;
    Check(library_->GetLibAttr(&attributes), "type library");
    const GUID id = attributes->guid;
    library_->ReleaseTLibAttr(attributes);
    return id;
}

}  // namespace iqrx::hosting::windows
