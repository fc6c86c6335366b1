// Names of tables, as a driver's catalog has them.
#pragma once

#include <string>
#include <string_view>

#include "platform/dialect/change.h"
#include "platform/odbc/driver.h"

namespace iqrx::platform::odbc {

using dialect::Change;
using dialect::ChangeOf;
using dialect::IsBatch;
using dialect::PlaceOf;
using dialect::TableOf;

// The last part of a written name as the catalog keeps it.
std::string CatalogName(std::string_view written, NameCase nameCase);

// The same in small letters, whatever the catalog's.
std::string LastPart(std::string_view written);

// The name in the driver's quotes, for a statement.
std::string QuotedName(const std::string& name, const DriverTraits& driver);

}  // namespace iqrx::platform::odbc
