// Names of tables, as a driver's catalog has them.
#pragma once

#include <string>
#include <string_view>

#include "platform/odbc/driver.h"

namespace iqrx::platform::odbc {

// The last part of a written name as the catalog keeps it.
std::string CatalogName(std::string_view written, NameCase nameCase);

// The same in small letters, whatever the catalog's.
std::string LastPart(std::string_view written);

// The name in the driver's quotes, for a statement.
inline std::string QuotedName(const std::string& name, const DriverTraits& driver) {
    return driver.quote + name + driver.quote;
}

}  // namespace iqrx::platform::odbc
