#include "platform/object.h"

#include "platform/error.h"

namespace iqrx::platform {

void Object::Set(std::string_view member, const Value&) {
    RaiseRuntimeError(kNoSuchMember, std::string(member));
}

}  // namespace iqrx::platform
