// The port's recordset on a session.
#pragma once

#include <memory>

#include "platform/database.h"
#include "platform/odbc/session.h"

namespace iqrx::platform::odbc {

std::unique_ptr<Recordset> CreateRecordset(Session& session);

}  // namespace iqrx::platform::odbc
