#include <gmock/gmock.h>

#include <fstream>

#include "platform/date.h"
#include "platform/error.h"
#include "platform/trace/tracing_database.h"
#include "support/faults.h"
#include "support/late_database.h"
#include "support/test_process.h"

namespace iqrx::platform::trace {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::ThrowsMessage;

using Lines = std::vector<std::string>;

class StatementTrace : public ::testing::Test {
protected:
    StatementTrace() {
        provider = std::make_unique<TracingDatabaseProvider>(database, files, file);
        connection = provider->CreateConnection("x");
        connection->Open("x");
    }
    // The file as it stands while the run goes on.
    Lines Written() const {
        std::ifstream stream(file, std::ios::binary);
        Lines lines;
        for (std::string line; std::getline(stream, line);) lines.push_back(line);
        return lines;
    }

    std::unique_ptr<Recordset> Opened(const std::string& text) {
        auto recordset = connection->CreateRecordset();
        recordset->Open(text, CursorType::Keyset, LockType::Optimistic);
        return recordset;
    }

    testing::RecordingDatabase database;
    testing::PlainTextFiles files;
    const testing::TemporaryDirectory directory;
    const std::filesystem::path file = directory.path / "trace.jsonl";
    std::unique_ptr<TracingDatabaseProvider> provider;
    std::unique_ptr<Connection> connection;
};

const RuntimeError kRefused(kDatabaseError, "driver", "near \"x\":\nsyntax error");

TEST_F(StatementTrace, HoldsEachExecutionWithTheRowsItAffected) {
    database.WhenExecuted("UPDATE tsmdm030 SET upd_flag = 1 ", 3);
    EXPECT_EQ(connection->Execute("UPDATE tsmdm030 SET upd_flag = 1 "), 3);
    connection->Execute("SET DATEFORMAT YMD");
    EXPECT_EQ(Written(), (Lines{R"({"op":"execute","sql":"UPDATE tsmdm030 SET upd_flag = 1 ","affected":3})",
                                R"({"op":"execute","sql":"SET DATEFORMAT YMD","affected":0})"}));
}

TEST_F(StatementTrace, HoldsTheErrorOfAnExecutionThatFailed) {
    database.WhenExecuted("x", kRefused);
    EXPECT_THROW(connection->Execute("x"), RuntimeError);
    EXPECT_EQ(Written(), (Lines{R"({"op":"execute","sql":"x","error":"near \"x\":\nsyntax error"})"}));
}

TEST_F(StatementTrace, HoldsAFailureOfWhatWasSentOnceAndNoQuestionThatWasNotAsked) {
    database.WhenExecuted("x", kRefused);
    testing::LateDatabases late(database, 10);
    TracingDatabaseProvider traced(late, files, file);
    connection = traced.CreateConnection("x");
    connection->Open("x");
    Answers nobody;

    connection->Send("x", nobody);
    EXPECT_THROW(Opened("SELECT * FROM tssoc206"), RuntimeError);

    EXPECT_EQ(Written(), (Lines{R"({"op":"execute","sql":"x","error":"near \"x\":\nsyntax error"})"}));
}

TEST_F(StatementTrace, HoldsOpenedTextsAndWhatIsDeletedThroughThem) {
    const std::string text = "SELECT * FROM tssoc206 WHERE orno= N'O1' AND   asln= 1";
    database.WhenOpened(text, {{"orno", "asln"}, {{std::string("O1"), Long{1}}}});
    Opened(text)->Delete();
    EXPECT_EQ(Written(),
              (Lines{R"({"op":"open","sql":"SELECT * FROM tssoc206 WHERE orno= N'O1' AND   asln= 1"})",
                     R"({"op":"delete","sql":"SELECT * FROM tssoc206 WHERE orno= N'O1' AND   asln= 1"})"}));
}

TEST_F(StatementTrace, HoldsTheErrorOfATextThatDoesNotOpen) {
    database.WhenOpened("x", kRefused);
    EXPECT_THROW(Opened("x"), RuntimeError);
    EXPECT_EQ(Written(), (Lines{R"({"op":"open","sql":"x","error":"near \"x\":\nsyntax error"})"}));
}

TEST_F(StatementTrace, HoldsTheValuesOfANewRowInFieldOrder) {
    const std::string text = "select * from tcccp031 WHERE  1=0";
    database.WhenOpened(text, {{"ccal", "ract", "ustm", "uftm", "n"}, {}});
    const auto recordset = Opened(text);
    recordset->AddNew();
    recordset->SetField(4, Long{7});
    recordset->SetField(1, Null());
    recordset->SetField(0, std::string("C01"));
    recordset->SetField(2, ParseIsoDate("2009-05-07 08:00:00").value());
    recordset->SetField(3, ParseIsoDate("2009-05-07 17:00:00").value());
    recordset->Update();
    recordset->AddNew();
    recordset->SetField(0, std::string("C02"));
    recordset->Update();
    EXPECT_EQ(
        Written(),
        (Lines{R"({"op":"open","sql":"select * from tcccp031 WHERE  1=0"})",
               R"({"op":"addnew","sql":"select * from tcccp031 WHERE  1=0","values":["C01",null,"2009-05-07 08:00:00","2009-05-07 17:00:00",7]})",
               R"({"op":"addnew","sql":"select * from tcccp031 WHERE  1=0","values":["C02"]})"}));
}

TEST_F(StatementTrace, HoldsTheErrorOfADeleteWithoutARow) {
    database.WhenOpened("x", {{"id"}, {}});
    const auto recordset = Opened("x");
    EXPECT_THROW(recordset->Delete(), RuntimeError);
    ASSERT_EQ(Written().size(), 2u);
    EXPECT_TRUE(Written()[1].starts_with(R"({"op":"delete","sql":"x","error":")")) << Written()[1];
}

TEST_F(StatementTrace, ChangesNothingOfWhatIsAnswered) {
    database.WhenOpened("x", {{"id", "name"}, {{Long{1}, std::string("one")}, {Long{2}, std::string("two")}}});
    const auto recordset = Opened("x");
    EXPECT_EQ(recordset->RecordCount(), 2);
    recordset->MoveFirst();
    recordset->MoveNext();
    EXPECT_EQ(recordset->Field("name"), Value(std::string("two")));
    EXPECT_EQ(recordset->Field(0), Value(Long{2}));
    recordset->MoveNext();
    EXPECT_TRUE(recordset->Eof());
}

TEST_F(StatementTrace, IsAppendedToByTheNextRun) {
    connection->Execute("first");
    connection.reset();
    provider = std::make_unique<TracingDatabaseProvider>(database, files, file);
    connection = provider->CreateConnection("x");
    connection->Open("x");
    connection->Execute("second");
    EXPECT_EQ(Written(), (Lines{R"({"op":"execute","sql":"first","affected":0})",
                                R"({"op":"execute","sql":"second","affected":0})"}));
}

TEST_F(StatementTrace, HoldsTheRowsThatFailWhenTheyAreSentAtTheEnd) {
    testing::Faults faults;
    testing::FaultingDatabases faulting(database, faults);
    provider = std::make_unique<TracingDatabaseProvider>(faulting, files, file);
    connection = provider->CreateConnection("x");
    connection->Open("x");
    auto rows = Opened("select * from tcccp031 WHERE  1=0");
    faults.Arm(1, testing::Faults::When::AfterItsEffect);

    EXPECT_THROW(rows->Close(), RuntimeError);

    EXPECT_EQ(Written().back(),
              std::string(R"({"op":"addnew","sql":"select * from tcccp031 WHERE  1=0","error":")") +
                  testing::Faults::kText + "\"}");
}

TEST(StatementTraces, ThatCannotBeWrittenAreAnErrorThatNamesTheFile) {
    const testing::TemporaryDirectory directory;
    const auto file = directory.path / "nowhere" / "trace.jsonl";
    testing::RecordingDatabase database;
    testing::PlainTextFiles files;
    EXPECT_THAT([&] { TracingDatabaseProvider(database, files, file); },
                ThrowsMessage<RuntimeError>(
                    AllOf(HasSubstr("the statement trace cannot be written"), HasSubstr(file.string()))));
}

}  // namespace
}  // namespace iqrx::platform::trace
