#include "runtime/dialect.h"

namespace iqrx::runtime {

namespace {

using platform::Connection;
using platform::Literal;

constexpr Sql<0> kDateFormat = "SET DATEFORMAT YMD";
constexpr Sql<1> kSchema = "Alter session set current_schema= {name}";

void BeginOnSqlServer(Connection& connection, const std::string& database) {
    connection.Execute(kDateFormat());
    if (!database.empty()) connection.SetDefaultDatabase(database);
}

void BeginOnOracle(Connection& connection, const std::string& database) {
    if (!database.empty()) connection.Execute(kSchema(Literal::Unknown(database)));
}

constexpr platform::LiteralFrame kOracleDay{"TO_DATE('", "','yyyy/mm/dd')"};  // the text as it stands

constexpr Dialect kSqlServerDialect{
    .emptyText = "",
    .date = {"CONVERT(DATETIME,'", "',120)"},
    .emptyDate = "1900-01-01 00:00:00",
    .lockTime = platform::kQuotes,
    .day = [](std::string_view date) { return Literal::Text(date); },
    .calendarsInUse =
        "SELECT DISTINCT tsmdm140.ccal  FROM tsmdm140 WHERE (tsmdm140.ccal <>  N'' OR  tsmdm140.ccal is NOT NULL)"
        " UNION "
        " SELECT DISTINCT tsmdm100.ccal  FROM tsmdm100 WHERE (tsmdm100.ccal <>  N'' OR  tsmdm100.ccal is NOT NULL) "
        " order by tsmdm140.ccal asc ",
    .batchOpening = "DECLARE @iCount int\r\n",
    .block = kSqlServerBlock,
    .keepsStatistics = true,
    .beginSession = BeginOnSqlServer,
    .currentDatabase = [](Connection& connection, const std::string&) { return connection.DefaultDatabase(); },
};

constexpr Dialect kOracleDialect{
    .emptyText = " ",
    .date = {"TO_DATE( '", "','yyyy-mm-dd HH24:MI:SS')"},
    .emptyDate = "",
    .lockTime = {"TO_DATE( '", "','yyyy-mm-dd HH24:MI:SS')"},
    .day = [](std::string_view date) { return Literal::Unknown(date, kOracleDay); },
    .calendarsInUse =
        "SELECT DISTINCT tsmdm140.ccal  FROM tsmdm140 WHERE (tsmdm140.ccal <>  N' ' OR  tsmdm140.ccal is NOT NULL)"
        " UNION "
        " SELECT DISTINCT tsmdm100.ccal  FROM tsmdm100 WHERE (tsmdm100.ccal <>  N' ' OR  tsmdm100.ccal is NOT NULL)"
        " order by ccal asc ",
    .batchOpening = "DECLARE \r\n iCount NUMBER;\r\n",
    .block = kOracleBlock,
    .keepsStatistics = false,
    .beginSession = BeginOnOracle,
    .currentDatabase = [](Connection&, const std::string& database) { return database; },
};

constexpr Dialect kOtherDialect{
    .emptyText = kSqlServerDialect.emptyText,
    .date = kSqlServerDialect.date,
    .emptyDate = kSqlServerDialect.emptyDate,
    .lockTime = kSqlServerDialect.lockTime,
    .day = kSqlServerDialect.day,
    .calendarsInUse = kOracleDialect.calendarsInUse,
    .batchOpening = kSqlServerDialect.batchOpening,
    .block = kOracleBlock,
    .keepsStatistics = false,
    .beginSession = [](Connection&, const std::string&) {},
    .currentDatabase = [](Connection&, const std::string&) { return std::string(); },
};

}  // namespace

const Dialect& DialectOf(platform::Integer platform) {
    if (platform == kSqlServer) return kSqlServerDialect;
    return platform == kOracle ? kOracleDialect : kOtherDialect;
}

}  // namespace iqrx::runtime
