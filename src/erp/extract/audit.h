// The audit classes: what to read, the reader over a table's audit trail, and the kind of a change.
#pragma once

#include "platform/object.h"

namespace iqrx::erp::extract {

// The audit class of that ProgID, or Nothing.
platform::ObjectRef CreateAuditObject(std::string_view progId);

}  // namespace iqrx::erp::extract
