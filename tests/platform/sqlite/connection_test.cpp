#include <gmock/gmock.h>
#include <sqlite3.h>

#include <fstream>

#include "fixture.h"

namespace iqrx::platform::sqlite {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class Connections : public DatabaseTest {
protected:
    // What opening the file says; the same stands in the connection's errors.
    std::string OpeningError(const std::filesystem::path& path) {
        auto opening = CreateSqliteConnection({});
        try {
            opening->Open("provider=sqlite;DATA SOURCE=" + path.string());
            return "";
        } catch (const RuntimeError& error) {
            EXPECT_EQ(opening->LastErrors().at(0).description, error.description);
            EXPECT_EQ(opening->LastErrors().at(0).source, "SQLite");
            EXPECT_EQ(error.description.find('\n'), std::string::npos);
            return error.description;
        }
    }
};

TEST_F(Connections, RefuseAMissingFileAndDoNotCreateIt) {
    EXPECT_EQ(OpeningError(file), "The database file does not exist: " + file.string());
    EXPECT_FALSE(std::filesystem::exists(file));
}

TEST_F(Connections, RefuseADirectory) {
    EXPECT_EQ(OpeningError(directory), "The database file is a directory: " + directory.string());
}

TEST_F(Connections, RefuseAFileThatIsNoDatabase) {
    std::ofstream(file) << std::string(5000, 'x');
    EXPECT_EQ(OpeningError(file), "The file is not a database: " + file.string());
}

TEST_F(Connections, RefuseAReadOnlyFile) {
    Create("CREATE TABLE t(a)");
    std::filesystem::permissions(file, std::filesystem::perms::owner_read);
    EXPECT_EQ(OpeningError(file), "The database file is read-only: " + file.string());
}

TEST_F(Connections, RefuseAConnectionStringWithoutAFile) {
    auto opening = CreateSqliteConnection({});
    EXPECT_THROW(opening->Open("Provider=SQLite"), RuntimeError);
    EXPECT_THROW(opening->Execute("DELETE FROM t"), RuntimeError);
    EXPECT_EQ(opening->LastErrors().at(0).description, "The connection is closed");
}

TEST_F(Connections, KeepAnyNameOfTheDatabase) {
    Create("CREATE TABLE t(a)");
    EXPECT_EQ(Db().DefaultDatabase(), "main");
    Db().SetDefaultDatabase("QRX site 7");
    EXPECT_EQ(Db().DefaultDatabase(), "QRX site 7");
}

TEST_F(Connections, DescribeAConstraintViolationWithNumberAndState) {
    Create("CREATE TABLE t(a TEXT PRIMARY KEY)");
    Execute("INSERT INTO t(a) VALUES(N'1')");
    EXPECT_EQ(ErrorOf("INSERT INTO t(a) VALUES(N'1')"), "UNIQUE constraint failed: t.a");
    ASSERT_EQ(Db().LastErrors().size(), 1u);
    EXPECT_EQ(Db().LastErrors()[0].number, SQLITE_CONSTRAINT_PRIMARYKEY);
    EXPECT_EQ(Db().LastErrors()[0].source, "SQLite");
    EXPECT_EQ(Db().LastErrors()[0].sqlState, "23000");
}

TEST_F(Connections, ShowControlCharactersAsTheirCodes) {
    Create(
        "CREATE TABLE t(a);"
        "CREATE TRIGGER refusal BEFORE INSERT ON t BEGIN SELECT RAISE(ABORT, 'first\r\nforged'); END");
    EXPECT_EQ(ErrorOf("INSERT INTO t(a) VALUES(N'1')"), "first\\x0D\\x0Aforged");
    EXPECT_EQ(ErrorOf("DELETE FROM \"x\r\n"), "Unexpected character at \"\"x\\x0D\\x0A\" (character 13)");
}

TEST_F(Connections, DescribeATableThatIsMissing) {
    Create("CREATE TABLE t(a)");
    EXPECT_EQ(ErrorOf("DELETE FROM elsewhere"), "no such table: elsewhere");
    EXPECT_EQ(Db().LastErrors().at(0).sqlState, "42S02");
}

TEST_F(Connections, CommitWhatWasWrittenWhenTheyClose) {
    Create("CREATE TABLE t(a)");
    Execute("INSERT INTO t(a) VALUES(1)");
    Db().Close();
    auto other = Connect();
    EXPECT_EQ(Select(*other, "SELECT a FROM t")->RecordCount(), 1);
}

TEST_F(Connections, CommitWhatWasWrittenBeforeAnErrorLeaves) {
    Create("CREATE TABLE t(a TEXT PRIMARY KEY)");
    Execute("INSERT INTO t(a) VALUES(N'1')");
    EXPECT_NE(ErrorOf("INSERT INTO t(a) VALUES(N'1')"), "");
    auto other = Connect();
    EXPECT_EQ(Select(*other, "SELECT a FROM t")->RecordCount(), 1);
}

TEST_F(Connections, CommitAControlTablesStatementBeforeItIsReportedDone) {
    Create("CREATE TABLE t(a); CREATE TABLE tstables(tablename, in_use)");
    auto other = Connect();
    Execute("INSERT INTO t(a) VALUES(1)");
    Execute("INSERT INTO TStables(tablename,in_use) VALUES(N't',1)");
    EXPECT_EQ(Select(*other, "SELECT a FROM t")->RecordCount(), 1);
    EXPECT_EQ(Select(*other, "SELECT * FROM tstables")->RecordCount(), 1);
}

TEST_F(Connections, FollowASchemaThatAnotherProcessChanges) {
    Create("CREATE TABLE t(a)");
    Execute("INSERT INTO t(a) VALUES(1)");
    EXPECT_THAT(Rows("SELECT * FROM t", 1), ElementsAre("1"));
    Db().Close();
    connection = Connect();
    EXPECT_THAT(Rows("SELECT * FROM t", 1), ElementsAre("1"));
    Create("ALTER TABLE t ADD COLUMN b TEXT DEFAULT 'new'");
    EXPECT_THAT(Rows("SELECT * FROM t", 2), ElementsAre("1|new"));
}

TEST_F(Connections, ScriptsAreAppliedWholeOrNotAtAll) {
    Create("CREATE TABLE t(a); INSERT INTO t VALUES(1);");
    try {
        Create("INSERT INTO t VALUES(2); CREATE TABLE t(a);");
        FAIL() << "the second table t was accepted";
    } catch (const RuntimeError& error) {
        EXPECT_THAT(error.description, HasSubstr("table t already exists"));
    }
    EXPECT_THAT(Rows("SELECT a FROM t", 1), ElementsAre("1"));
}

}  // namespace
}  // namespace iqrx::platform::sqlite
