// Any object as an IDispatch, for COM objects that are handed one of ours.
#pragma once

#include "platform/object.h"
#include "platform/windows/com.h"

namespace iqrx::platform::windows {

ComRef<IDispatch> AdapterAround(ObjectRef object);
// The object inside, when the interface is one of ours in this process; else null.
ObjectRef ObjectInside(IDispatch* dispatch);

}  // namespace iqrx::platform::windows
