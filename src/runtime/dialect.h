// What differs between the servers, as data.
#pragma once

#include <string>
#include <string_view>

#include "platform/database.h"
#include "runtime/sql.h"

namespace iqrx::runtime {

enum DatabasePlatform : platform::Integer { kSqlServer = 1, kOracle = 2 };

// What stands around the statements of a block that inserts a row or updates it, and in front of a batch of them.
struct BlockFrame {
    std::string_view open, test, otherwise, close;
};
inline constexpr BlockFrame kSqlServerBlock{"\r\n BEGIN \r\n\r\n", " IF(@iCount) = 0\r\n BEGIN \r\n\r\n",
                                            "\r\n END \r\n ELSE \r\n BEGIN\r\n\r\n",
                                            "\r\n END \r\n END\r\n\r\n"};
inline constexpr BlockFrame kOracleBlock{"\r\nBEGIN\r\n\r\n", "IF(iCount) = 0 THEN\r\n\r\n",
                                         "\r\nELSE\r\n\r\n", "\r\nEND IF;\r\nEND;\r\n"};

struct Dialect {
    std::string_view emptyText;       // Oracle keeps an empty text as NULL: there it is one blank
    platform::LiteralFrame date;      // around year-month-day hours:minutes:seconds
    std::string_view emptyDate;       // what the server makes of that frame around nothing; empty: Null
    platform::LiteralFrame lockTime;  // around the present time of a lock's first row
    platform::Literal (*day)(std::string_view date);  // of a calendar's interval
    Sql<0> calendarsInUse;                            // in the order of their codes
    std::string_view batchOpening;
    const BlockFrame& block;
    bool keepsStatistics;

    // Readies the session and moves it to a database, unless its name is empty.
    void (*beginSession)(platform::Connection& connection, const std::string& database);
    // The one that a session is in that was readied so.
    std::string (*currentDatabase)(platform::Connection& connection, const std::string& database);
};

// The dialect of a request's platform number. A number that is neither of the two stands for SQL Server in
// literals, for Oracle in the other texts, and begins no session.
const Dialect& DialectOf(platform::Integer platform);

}  // namespace iqrx::runtime
