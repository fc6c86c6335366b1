// The public classes by their names in the registry.
#pragma once

#include <array>

#include "platform/windows/com.h"
// Made from the IDL; after com.h, whose types it uses.
#include "iqrxyqrxsync.h"

namespace iqrx::hosting::windows {

struct PublicClass {
    const wchar_t* progId;
    CLSID classId;
};

inline const std::array<PublicClass, 2> kPublicClasses{{
    {L"iQRXyQRXSync.clsDataCopyHandler", __uuidof(::clsDataCopyHandler)},
    {L"iQRXyQRXSync.clsDataCopy", __uuidof(::clsDataCopy)},
}};

}  // namespace iqrx::hosting::windows
