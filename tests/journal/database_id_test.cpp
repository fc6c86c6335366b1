#include "journal/database_id.h"

#include "journal/history.h"
#include "journal/journal_fixture.h"

namespace iqrx::journal {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

DatabaseId Of(const std::string& connection, const std::string& database = "", bool userIsSchema = false) {
    return DatabaseIdOf(connection, database, userIsSchema);
}

TEST(TheDatabaseId, TellsServersAndDatabasesApart) {
    const DatabaseId id = Of("Driver=x;Server=SQL1;Database=scheduling;Uid=copy;Pwd=secret");
    EXPECT_FALSE(id.MayBe(Of("Driver=x;Server=SQL1;Database=test")));
    EXPECT_FALSE(id.MayBe(Of("Driver=x;Server=SQL2;Database=scheduling")));
    EXPECT_FALSE(id.MayBe(Of("Driver=x;Server=SQL1;Database=scheduling", "test")));
    EXPECT_FALSE(Of("DSN=one").MayBe(Of("DSN=other")));
    EXPECT_FALSE(Of("Driver=x;Server=SQL1\\A").MayBe(Of("Driver=x;Server=SQL1\\B")));
}

TEST(TheDatabaseId, TakesOneDatabaseThatIsToldInSeveralWaysForOne) {
    const DatabaseId id = Of("Driver=x;Server=SQL1;Database=scheduling");
    EXPECT_TRUE(
        id.MayBe(Of("provider=SQLOLEDB;data source=tcp:sql1.example.com,1433;initial catalog=SCHEDULING")));
    EXPECT_TRUE(id.MayBe(Of("DSN=erp")));
    EXPECT_TRUE(id.MayBe(Of("DSN=erp", "scheduling")));
    EXPECT_TRUE(id.MayBe(Of("no connection string")));
    EXPECT_FALSE(Of("Driver=x;Server=10.0.0.1").MayBe(Of("Driver=x;Server=10.0.0.2")));
}

TEST(TheDatabaseId, IsTheUserWhereHeIsTheSchema) {
    EXPECT_FALSE(
        Of("Driver=x;DBQ=;Server=o;Uid=one", "", true).MayBe(Of("Driver=x;Server=o;Uid=two", "", true)));
    EXPECT_TRUE(Of("Driver=x;Server=o;Database=d;Uid=one").MayBe(Of("Driver=x;Server=o;Database=d;Uid=two")));
}

TEST(TheDatabaseId, IsReadAsItWasWrittenAndHoldsNoPassword) {
    const DatabaseId id = Of("Driver=x;Server=SQL1;Database=scheduling;Uid=copy;Pwd=secret");
    EXPECT_EQ(ReadDatabaseId(id.Text()), id);
    EXPECT_THAT(id.Text(), Not(HasSubstr("secret")));
    EXPECT_EQ(id.Shown(), "SQL1 scheduling");
    EXPECT_FALSE(ReadDatabaseId("damaged").IsKnown());
}

class AStateDirectoryOfAServer : public JournalTest {
protected:
    StateDirectory OpenFor(const std::string& connection, Use use = Use::Writing) {
        return {host, machine->Files(), place, use, Of(connection)};
    }
};

TEST_F(AStateDirectoryOfAServer, IsUsedForItAndForNoOther) {
    EXPECT_EQ(OpenFor("DSN=one;Database=a").Problem(), "");
    EXPECT_EQ(OpenFor("DSN=one;Database=a").Problem(), "");
    for (const Use use : {Use::Writing, Use::Reading}) {
        StateDirectory other = OpenFor("DSN=one;Database=b", use);
        EXPECT_THAT(other.Problem(), HasSubstr(platform::Utf8(place) + " belongs to another database: one a"));
        EXPECT_FALSE(other.IsUsable());
        EXPECT_FALSE(other.IsWritable());
        History(other).Append({.run = "20261121-104032", .table = "tsmdm030"});
    }
    EXPECT_FALSE(exists(place / "history.jsonl"));
    EXPECT_EQ(ReadDatabaseId(Contents("DATABASE")).name, "a");
}

TEST_F(AStateDirectoryOfAServer, ThatNobodyHasClaimedYetIsTaken) {
    { const StateDirectory before = Open(); }
    EXPECT_EQ(OpenFor("DSN=one", Use::Reading).Problem(), "");
    EXPECT_FALSE(exists(place / "DATABASE"));
    EXPECT_EQ(OpenFor("DSN=one").Problem(), "");
    EXPECT_TRUE(exists(place / "DATABASE"));
}

}  // namespace
}  // namespace iqrx::journal
