#include "control/table_catalog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/test_process.h"

namespace iqrx::testing {
namespace {

using namespace std::string_literals;
using platform::Long;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

constexpr const char* kCatalogText =
    "SELECT a.ERPTableID,a.tableid, a.tablename, c.text from tstables a, tstreenodes b, tsi18ntext c where a.productid = N'1028' AND b.groupid = N'SYNC' AND a.tableid = b.tableid AND b.label = c.label";

class Catalog : public TestProcess, public ::testing::Test {
protected:
    void Given(Rows rows) { database.WhenOpened(kCatalogText, std::move(rows)); }
    void Load(platform::Integer databasePlatform = 1, const std::string& name = "db") {
        process.catalog.LoadTableCatalog(database, "the string", name, databasePlatform, " SYNC ");
    }
    const std::vector<std::string> columns{"ERPTableID", "tableid", "tablename", "text"};
};

TEST_F(Catalog, FillsTheEntriesOfItsGroup) {
    Given({columns, {{" erp030 "s, Long{2}, " tsmdm030 "s, "Service Types"s}, {"x"s, Long{128}, "last"s, ""s}}});
    Load();
    EXPECT_EQ(process.catalog.GetErpTableId(2), "erp030");
    EXPECT_EQ(process.catalog.GetTableName(2), "tsmdm030");
    EXPECT_EQ(process.catalog.GetTableText(2), "Service Types");
    EXPECT_EQ(process.catalog.GetTableName(128), "last");
    EXPECT_EQ(process.catalog.GetTableName(3), "") << "an id without a table";
    EXPECT_EQ(database.openConnections, 0) << "its own connection is closed again";
}

TEST_F(Catalog, ReadiesItsConnectionForThePlatform) {
    Given({columns, {{"e"s, Long{2}, "t"s, "T"s}}});
    Load(1);
    Load(2);
    EXPECT_THAT(database.executed, ElementsAre("SET DATEFORMAT YMD", "Alter session set current_schema= db"));
}

TEST_F(Catalog, ReadsTheRequestsOwnDatabaseOnSqlServer) {
    Given({columns, {{"e"s, Long{2}, "t"s, "T"s}}});
    Load();
    EXPECT_THAT(database.calls,
                ElementsAre("CreateConnection the string", "OpenConnection the string",
                            "Execute SET DATEFORMAT YMD", "DefaultDatabase db",
                            StartsWith("Open SELECT a.ERPTableID"), "Close", "CloseConnection"));
}

TEST_F(Catalog, StaysInTheLoginsDatabaseWithoutAName) {
    Given({columns, {{"e"s, Long{2}, "t"s, "T"s}}});
    Load(1, "");
    EXPECT_THAT(database.calls, Not(Contains(HasSubstr("DefaultDatabase"))));
}

TEST_F(Catalog, SetsNoDefaultDatabaseOnOracle) {
    Given({columns, {{"e"s, Long{2}, "t"s, "T"s}}});
    Load(2);
    EXPECT_THAT(database.calls, Not(Contains(HasSubstr("DefaultDatabase"))));
}

TEST_F(Catalog, CannotProceedWithoutARow) {
    try {
        Load();
        FAIL();
    } catch (const platform::RuntimeError& error) {
        EXPECT_EQ(error.description, "tstables or tstreenodes table is empty .. Cannot Proceed");
        EXPECT_EQ(error.source, "iQrx Data Copy - Start");
    }
}

TEST_F(Catalog, RaisesOutsideItsIds) {
    EXPECT_THROW(process.catalog.GetTableName(129), platform::RuntimeError);
    EXPECT_THROW(process.catalog.GetTableText(-1), platform::RuntimeError);
    Given({columns, {{"e"s, Long{129}, "t"s, "T"s}}});
    EXPECT_THROW(Load(), platform::RuntimeError);
}

}  // namespace
}  // namespace iqrx::testing
