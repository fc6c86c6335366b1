// What the driver at the other end is like, asked once after the connection was opened.
#pragma once

#include <string>

#include "platform/odbc/handle.h"

namespace iqrx::platform::odbc {

enum class NameCase { AsWritten, Upper, Lower };

struct DriverTraits {
    std::string source = "ODBC";              // names the driver in its errors
    std::string quote;                        // around a name; empty: names can't be quoted
    NameCase nameCase = NameCase::AsWritten;  // how the catalog keeps a name that was not quoted
    bool catalogs = false;                    // there are databases to change between
    // Whether a result can stay open while other statements run and transactions end.
    bool openCursors = false;
    // Whether the server takes T-SQL, and so a text of several statements that asks for the count of the one
    // before.
    bool transactSql = false;
    // Whether texts reach the driver as UTF-16. A driver without wide functions gets them as UTF-8, since the
    // driver manager would lose what Latin-1 does not have.
    bool wide = true;
};

DriverTraits ReadDriverTraits(const Handle& connection);

}  // namespace iqrx::platform::odbc
