// What a COM client creates: an object of each public class. All is borrowed, for as long as the object lives.
#pragma once

#include "com_server/class_factory.h"
#include "com_server/com_requests.h"
#include "com_server/type_library.h"

namespace iqrx::hosting::windows {

using CreatePublicObject = ComRef<IDispatch>(ServerLifetime& lifetime, const TypeLibrary& library,
                                             ComRequests& requests);

CreatePublicObject CreateHandler;   // clsDataCopyHandler
CreatePublicObject CreateDataCopy;  // clsDataCopy, with its events

}  // namespace iqrx::hosting::windows
