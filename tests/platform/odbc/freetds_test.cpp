// FreeTDS as the driver, with a conversation in place of a server: what reaches the server, and what its
// answers come back as.
#include <gmock/gmock.h>

#include "platform/error.h"
#include "platform/odbc/odbc_database.h"
#include "support/tds_server.h"

namespace iqrx::platform::odbc {
namespace {

using iqrx::testing::TdsReply;
using iqrx::testing::TdsServer;
using ::testing::Contains;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;
using ::testing::Not;
using ::testing::ThrowsMessage;

class FreeTds : public ::testing::Test {
protected:
    void SetUp() override {
        connection->SetConnectionTimeout(0);
        connection->SetCommandTimeout(0);
        connection->Open("Driver=FreeTDS;Server=127.0.0.1;Port=" + std::to_string(server.Port()) +
                         ";TDS_Version=7.4;Database=qrx;Uid=copy;Pwd=secret");
    }

    std::unique_ptr<Recordset> Open(const std::string& text) {
        auto recordset = connection->CreateRecordset();
        recordset->Open(text, CursorType::ForwardOnly, LockType::ReadOnly);
        return recordset;
    }

    TdsServer server;
    std::unique_ptr<Connection> connection = CreateOdbcConnection({});
};

TEST_F(FreeTds, LogsInAsTheConnectionStringSays) {
    EXPECT_EQ(server.User(), "copy");
    EXPECT_EQ(server.LoginDatabase(), "qrx");
    EXPECT_EQ(connection->DefaultDatabase(), "qrx");
}

TEST_F(FreeTds, SendsTextsToTheLetter) {
    const std::string text =
        "UPDATE  tscfg220 SET  dsca =N'it''s {fn now()} ? \u6771\U0001F600',upd_flag = 0 WHERE ccfg = N'[x]'\r\n";
    server.WhenSent(text, TdsReply().Count(1, TdsReply::kUpdate));

    EXPECT_EQ(connection->Execute(text), 1);

    EXPECT_THAT(server.Texts(), Contains(text));
}

TEST_F(FreeTds, CountsTheRowsOfAStatement) {
    server.WhenSent("UPDATE none", TdsReply().Count(0, TdsReply::kUpdate));
    server.WhenSent("UPDATE some", TdsReply().Count(12, TdsReply::kUpdate));

    EXPECT_EQ(connection->Execute("UPDATE none"), 0);
    EXPECT_EQ(connection->Execute("UPDATE some"), 12);
    EXPECT_EQ(connection->Execute("SET DATEFORMAT YMD"), 0);
    EXPECT_EQ(connection->Execute("truncate table tcccp031 "), 0);
}

TEST_F(FreeTds, CountsTheStatementAndNotTheSelectOrTriggerBeforeIt) {
    server.WhenSent("block", TdsReply().Count(1, TdsReply::kSelect).Count(2, TdsReply::kInsert));
    server.WhenSent("none", TdsReply().Count(1, TdsReply::kSelect).Count(0, TdsReply::kUpdate));

    EXPECT_EQ(connection->Execute("block"), 2);
    EXPECT_EQ(connection->Execute("none"), 0);
}

TEST_F(FreeTds, RaisesAnErrorOfALaterResult) {
    server.WhenSent("batch", TdsReply()
                                 .Count(1, TdsReply::kSelect)
                                 .Count(1, TdsReply::kInsert)
                                 .Error(2627, "Violation of PRIMARY KEY constraint")
                                 .Count(1, TdsReply::kUpdate));
    server.WhenSent("next", TdsReply().Count(3, TdsReply::kUpdate));

    try {
        connection->Execute("batch");
        FAIL() << "the error is lost";
    } catch (const RuntimeError& error) {
        EXPECT_THAT(error.description, HasSubstr("PRIMARY KEY"));
        EXPECT_EQ(connection->LastErrors().at(0).sqlState, "23000");
    }
    EXPECT_THAT(server.Texts(), Not(Contains("(cancel)"))) << "the rest of the batch may not have run";
    EXPECT_EQ(connection->Execute("next"), 3) << "results of the batch are still waiting";
}

TEST_F(FreeTds, RunsStatementsWhileAResultIsRead) {
    server.WhenSent("select", TdsReply().Rows("id", "name", {{1, "one"}, {2, nullptr}, {3, "\U0001F600"}}));
    server.WhenSent("update", TdsReply().Count(1, TdsReply::kUpdate));

    auto rows = Open("select");
    for (Long id = 1; id <= 3; ++id, rows->MoveNext()) {
        EXPECT_EQ(connection->Execute("update"), 1);
        EXPECT_EQ(rows->Field("id"), Value(id));
        EXPECT_EQ(rows->Field(1), id == 1 ? Value("one") : id == 2 ? Value(Null()) : Value("\U0001F600"));
    }

    EXPECT_TRUE(rows->Eof());
    EXPECT_EQ(rows->RecordCount(), 3);
}

TEST_F(FreeTds, ChangesTheDatabase) {
    server.WhenSent("USE [other]", TdsReply().Database("other").NoCount());

    connection->SetDefaultDatabase("other");

    EXPECT_EQ(connection->DefaultDatabase(), "other");
    EXPECT_THAT(server.Texts(), Contains("USE [other]"));
}

TEST_F(FreeTds, SaysWhatTheServerSaidOfADatabaseThatItCannotChangeTo) {
    server.WhenSent("USE [nowhere]", TdsReply().Error(911, "Database 'nowhere' does not exist."));

    EXPECT_THAT([&] { connection->SetDefaultDatabase("nowhere"); },
                ThrowsMessage<RuntimeError>(HasSubstr("Database 'nowhere' does not exist.")));

    EXPECT_THAT(connection->LastErrors().at(0).description, HasSubstr("'nowhere'"));
    EXPECT_EQ(connection->DefaultDatabase(), "qrx");
}

TEST_F(FreeTds, ShowsTheSqlStateBeforeTheServersWords) {
    server.WhenSent("batch", TdsReply().Error(2627, "Violation of PRIMARY KEY constraint"));

    EXPECT_THAT([&] { connection->Execute("batch"); },
                ThrowsMessage<RuntimeError>(MatchesRegex("\\[23000\\] .*Violation of PRIMARY KEY constraint")));
}

TEST_F(FreeTds, ShowsControlCharactersInTheServersWordsAsTheirCodes) {
    server.WhenSent("batch", TdsReply().Error(50000, "first\r\n\"forged\""));

    EXPECT_THAT([&] { connection->Execute("batch"); },
                ThrowsMessage<RuntimeError>(HasSubstr("first\\x0D\\x0A\"forged\"")));
}

TEST_F(FreeTds, NamesThePlaceOfATextThatIsTooLongForItsColumn) {
    const std::string insert = "INSERT INTO tsmdm030 (cstp,dsca) VALUES (N'ABC',N'far too long')";
    const std::string update = "UPDATE tsmdm030 SET dsca = N'far too long' WHERE cstp = N'ABC'";
    const std::string block = "DECLARE @iCount int\r\n BEGIN \r\n";
    server.WhenSent(insert, TdsReply().Error(2628, "would be truncated in table 'tsmdm030', column 'dsca'"));
    server.WhenSent(update, TdsReply().Error(8152, "would be truncated"));
    server.WhenSent(block, TdsReply().Error(8152, "would be truncated"));

    for (const std::string& text : {insert, update}) {
        EXPECT_THAT([&] { connection->Execute(text); },
                    ThrowsMessage<RuntimeError>(
                        MatchesRegex("\\[22001\\] .*truncated.* \\(table tsmdm030, row cstp = N'ABC'\\)")));
        EXPECT_THAT(connection->LastErrors().at(0).description, HasSubstr("row cstp = N'ABC'"));
        EXPECT_EQ(connection->LastErrors().at(0).sqlState, "22001");
    }
    EXPECT_THAT([&] { connection->Execute(block); },
                ThrowsMessage<RuntimeError>(EndsWith("would be truncated")));
}

TEST_F(FreeTds, ReportsALostConnection) {
    server.Stop();

    EXPECT_THROW(connection->Execute("UPDATE some"), RuntimeError);

    ASSERT_FALSE(connection->LastErrors().empty());
    EXPECT_EQ(connection->LastErrors().front().sqlState, "08S01");
    EXPECT_NO_THROW(connection->Close());
}

TEST_F(FreeTds, TellsAServerThatIsNotReachedFromALostConnection) {
    auto other = CreateOdbcConnection({});

    EXPECT_THROW(other->Open("Driver=FreeTDS;Server=127.0.0.1;Port=1;TDS_Version=7.4;Uid=a;Pwd=b"),
                 RuntimeError);

    EXPECT_THAT(other->LastErrors().at(0).description, Not(HasSubstr("lost")));
}

}  // namespace
}  // namespace iqrx::platform::odbc
