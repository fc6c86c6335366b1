#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>
#include <utility>

#include "platform/ado/connection.h"
#include "platform/conversions.h"
#include "platform/error.h"
#include "platform/object.h"

namespace iqrx::platform::ado {
namespace {

// ADO as far as the adapter uses it: it writes down what it is called and answers from tables of the test's.
struct Ado : ObjectFactory {
    using Answer = std::function<Value(std::span<Argument>)>;

    struct Part : Object {
        Part(Ado& ado, std::string name) : ado(ado), name(std::move(name)) {}
        Value Invoke(std::string_view member, std::span<Argument> arguments) override {
            const std::string call = name + "." + std::string(member);
            std::string line = call;
            for (const auto& argument : arguments)
                line += argument.value.Is<ObjectRef>() ? " object" : " " + ToText(argument.value);
            ado.calls.push_back(line);
            const auto answer = ado.answers.find(call);
            return answer == ado.answers.end() ? Value() : answer->second(arguments);
        }
        void Set(std::string_view member, const Value& value) override {
            ado.calls.push_back(name + "." + std::string(member) + " = " + ToText(value));
        }
        Ado& ado;
        std::string name;
    };

    ObjectRef CreateObject(std::string_view progId) override { return New(std::string(progId)); }
    ObjectRef New(std::string name) { return std::make_shared<Part>(*this, std::move(name)); }
    void Answers(const std::string& call, Value value) {
        answers[call] = [value](auto) { return value; };
    }

    std::map<std::string, Answer> answers;
    std::vector<std::string> calls;
};

class AdoTest : public ::testing::Test {
protected:
    std::unique_ptr<Connection> Opened() {
        auto connection = CreateConnection(ado);
        connection->Open("Provider=X;Data Source=Y");
        ado.calls.clear();
        return connection;
    }
    void FailWith(const std::string& call) {
        ado.answers[call] = [](auto) -> Value { throw RuntimeError(-2147217900, "Provider", "bad syntax"); };
        ado.Answers("ADODB.Connection.Errors", ado.New("Errors"));
        ado.Answers("Errors.Count", Long{2});
        ado.answers["Errors.Item"] = [this](std::span<Argument> arguments) -> Value {
            return ado.New("Error" + ToText(arguments[0].value));
        };
        for (const std::string error : {"Error0", "Error1"}) {
            ado.Answers(error + ".Number", error == "Error0" ? Long{-2147217900} : Long{0});
            ado.Answers(error + ".Source", std::string("Provider"));
            ado.Answers(error + ".Description", error + "\ttext");
            ado.Answers(error + ".SQLState", std::string("42000"));
        }
        ado.answers["Errors.Clear"] = [this](auto) -> Value {
            ado.Answers("Errors.Count", Long{0});
            return Empty{};
        };
    }

    Ado ado;
};

TEST_F(AdoTest, AConnectionStringIsHandedOverAsItStands) {
    const auto connection = CreateConnection(ado);
    connection->SetConnectionTimeout(0);
    connection->SetCommandTimeout(0);
    connection->Open("Provider=X;Data Source={a;b}");
    EXPECT_EQ(ado.calls, (std::vector<std::string>{
                             "ADODB.Connection.ConnectionTimeout = 0", "ADODB.Connection.CommandTimeout = 0",
                             "ADODB.Connection.ConnectionString = Provider=X;Data Source={a;b}",
                             "ADODB.Connection.Open"}));
}

TEST_F(AdoTest, ExecuteAnswersTheRowsAffected) {
    const auto connection = Opened();
    ado.answers["ADODB.Connection.Execute"] = [](std::span<Argument> arguments) -> Value {
        EXPECT_TRUE(arguments[1].byReference);
        arguments[1].value = Long{3};
        return ObjectRef();
    };
    EXPECT_EQ(connection->Execute("UPDATE t SET a = 1 "), 3);
    EXPECT_EQ(ado.calls, std::vector<std::string>{"ADODB.Connection.Execute UPDATE t SET a = 1   129"});
}

TEST_F(AdoTest, ARecordsetOpensOnTheConnectionWithItsCursorAndLock) {
    const auto connection = Opened();
    ado.Answers("ADODB.Recordset.Fields", ado.New("Fields"));
    ado.Answers("Fields.Item", ado.New("Field"));
    ado.Answers("Field.Value", std::string("v"));
    const auto recordset = connection->CreateRecordset();

    recordset->Open("select * from t", CursorType::Keyset, LockType::Optimistic);
    const Value byName = recordset->Field("ccal"), byPosition = recordset->Field(2);
    recordset->MoveNext();
    recordset->Field("ccal");

    EXPECT_EQ(byName, Value(std::string("v")));
    EXPECT_EQ(byPosition, Value(std::string("v")));
    EXPECT_EQ(ado.calls, (std::vector<std::string>{"ADODB.Recordset.Open select * from t object 1 3 1",
                                                   "ADODB.Recordset.Fields", "Fields.Item ccal",
                                                   "Field.Value", "Fields.Item 2", "Field.Value",
                                                   "ADODB.Recordset.MoveNext", "Field.Value"}));
}

TEST_F(AdoTest, ARowIsAddedByPosition) {
    const auto connection = Opened();
    ado.Answers("ADODB.Recordset.Fields", ado.New("Fields"));
    ado.Answers("Fields.Item", ado.New("Field"));
    const auto recordset = connection->CreateRecordset();
    recordset->Open("select * from t WHERE  1=0", CursorType::Keyset, LockType::Optimistic);
    ado.calls.clear();

    recordset->AddNew();
    recordset->SetField(0, std::string("C01"));
    recordset->Update();

    EXPECT_EQ(ado.calls, (std::vector<std::string>{"ADODB.Recordset.AddNew", "Fields.Item 0",
                                                   "Field.Value = C01", "ADODB.Recordset.Update"}));
}

TEST_F(AdoTest, AFailureRisesAndItsEntriesAreKeptUntilTheyAreCleared) {
    const auto connection = Opened();
    FailWith("ADODB.Connection.Execute");
    try {
        connection->Execute("UPDAT t");
        FAIL();
    } catch (const RuntimeError& error) {
        EXPECT_EQ(error.number, -2147217900);
        EXPECT_EQ(error.description, "bad syntax");
    }
    ASSERT_EQ(connection->LastErrors().size(), 2U);
    EXPECT_EQ(connection->LastErrors()[0].number, -2147217900);
    EXPECT_EQ(connection->LastErrors()[0].description, "Error0\\x09text");
    EXPECT_EQ(connection->LastErrors()[0].sqlState, "42000");
    connection->LastErrors().clear();
    EXPECT_TRUE(connection->LastErrors().empty());
}

TEST_F(AdoTest, AFailingRecordsetFillsItsConnectionsEntries) {
    const auto connection = Opened();
    FailWith("ADODB.Recordset.Open");
    const auto recordset = connection->CreateRecordset();
    EXPECT_THROW(recordset->Open("select", CursorType::Static, LockType::ReadOnly), RuntimeError);
    EXPECT_EQ(connection->LastErrors().size(), 2U);
}

TEST_F(AdoTest, AConnectionWhoseProviderIsGoneClosesInSilence) {
    auto connection = Opened();
    const auto gone = [](auto) -> Value { throw RuntimeError(462, "x", "gone"); };
    ado.answers["ADODB.Connection.Execute"] = gone;
    ado.answers["ADODB.Connection.Errors"] = gone;
    ado.answers["ADODB.Connection.Close"] = gone;
    EXPECT_THROW(connection->Execute("SELECT 1"), RuntimeError);
    EXPECT_TRUE(connection->LastErrors().empty());
    connection.reset();
}

// Transactions, as calls in their order.
class AdoTransactions : public AdoTest {
protected:
    void SetUp() override {
        ado.Answers("ADODB.Connection.IsolationLevel", Long{4096});
        connection = Opened();
    }
    // Fails with what a provider says: once, or forever.
    void Fail(const std::string& call, const std::string& state, bool once) {
        FailWith(call);
        ado.Answers("Error0.SQLState", state);
        ado.Answers("Errors.Count", Long{0});
        ado.answers[call] = [this, failure = ado.answers[call], once,
                             failed = false](std::span<Argument> arguments) mutable {
            if (once && std::exchange(failed, true)) return Value();
            ado.Answers("Errors.Count", Long{1});
            return failure(arguments);
        };
    }
    void Exclusively() {
        connection->RunExclusively([&] { connection->Execute("UPDATE t"); });
    }
    // The calls without those for the errors.
    std::vector<std::string> Calls() const {
        std::vector<std::string> calls;
        for (const std::string& call : ado.calls)
            if (call.find("Error") == std::string::npos)
                calls.push_back(call.substr(sizeof "ADODB.Connection"));
        return calls;
    }

    std::unique_ptr<Connection> connection;
    const std::vector<std::string> section{"IsolationLevel", "IsolationLevel = 1048576",
                                           "BeginTrans",     "Execute UPDATE t  129",
                                           "CommitTrans",    "IsolationLevel = 4096"};
    const std::vector<std::string> failedSection{"IsolationLevel", "IsolationLevel = 1048576",
                                                 "BeginTrans",     "Execute UPDATE t  129",
                                                 "RollbackTrans",  "IsolationLevel = 4096"};
};

std::vector<std::string> Joined(std::vector<std::string> first, const std::vector<std::string>& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

TEST_F(AdoTransactions, OfAnExclusiveSectionAreSerializableAndTheLevelIsRestored) {
    Exclusively();
    EXPECT_EQ(Calls(), section);
}

TEST_F(AdoTransactions, OfAFailingExclusiveSectionAreRolledBack) {
    Fail("ADODB.Connection.Execute", "42000", false);
    EXPECT_THROW(Exclusively(), RuntimeError);
    EXPECT_EQ(Calls(), failedSection);
    EXPECT_EQ(connection->LastErrors().at(0).sqlState, "42000");
}

TEST_F(AdoTransactions, OfAVictimAreRunAgainAndItsErrorsForgotten) {
    for (const char* state : {"40001", "23000"}) {
        ado.calls.clear();
        Fail("ADODB.Connection.Execute", state, true);
        Exclusively();
        EXPECT_EQ(Calls(), Joined(failedSection, section)) << state;
        EXPECT_TRUE(connection->LastErrors().empty()) << state;
    }
}

TEST_F(AdoTransactions, WhoseCommitMakesThemTheVictimAreRunAgain) {
    Fail("ADODB.Connection.CommitTrans", "40001", true);
    Exclusively();
    EXPECT_EQ(std::ranges::count(Calls(), "BeginTrans"), 2);
    EXPECT_EQ(std::ranges::count(Calls(), "RollbackTrans"), 1);
}

TEST_F(AdoTransactions, ThatAProviderDoesNotHaveLeaveTheWorkAsItIs) {
    for (const std::int32_t missing : {438, 3251, -2146825037}) {
        ado.calls.clear();
        ado.answers["ADODB.Connection.BeginTrans"] = [missing](auto) -> Value {
            throw RuntimeError(missing, "Provider", "no transactions");
        };
        Exclusively();
        connection->Execute("DECLARE @iCount int\r\n BEGIN");
        EXPECT_EQ(std::ranges::count(Calls(), "Execute UPDATE t  129"), 1) << missing;
        EXPECT_EQ(std::ranges::count(Calls(), "CommitTrans"), 0) << missing;
        EXPECT_EQ(std::ranges::count(Calls(), "RollbackTrans"), 0) << missing;
        EXPECT_TRUE(connection->LastErrors().empty()) << missing;
    }
}

TEST_F(AdoTransactions, ThatCannotBeginAreAnError) {
    Fail("ADODB.Connection.BeginTrans", "08S01", false);
    EXPECT_THROW(Exclusively(), RuntimeError);
    EXPECT_EQ(std::ranges::count(Calls(), "Execute UPDATE t  129"), 0);
    EXPECT_EQ(Calls().back(), "IsolationLevel = 4096");
    EXPECT_EQ(connection->LastErrors().at(0).sqlState, "08S01");
}

TEST_F(AdoTransactions, StandAroundEachBatchAndNothingElse) {
    connection->Execute("UPDATE t");
    for (const char* batch : {"DECLARE @iCount int\r\n", "begin x"}) connection->Execute(batch);
    EXPECT_EQ(Calls(), (std::vector<std::string>{"Execute UPDATE t  129", "BeginTrans",
                                                 "Execute DECLARE @iCount int\r\n  129", "CommitTrans",
                                                 "BeginTrans", "Execute begin x  129", "CommitTrans"}));
}

TEST_F(AdoTransactions, OfABatchThatFailsAreRolledBack) {
    Fail("ADODB.Connection.Execute", "23000", false);
    EXPECT_THROW(connection->Execute("DECLARE x"), RuntimeError);
    EXPECT_EQ(Calls(), (std::vector<std::string>{"BeginTrans", "Execute DECLARE x  129", "RollbackTrans"}));
    EXPECT_EQ(connection->LastErrors().at(0).sqlState, "23000");
}

TEST_F(AdoTransactions, OfABatchInAnExclusiveSectionAreTheSections) {
    connection->RunExclusively([&] { connection->Execute("DECLARE x"); });
    EXPECT_EQ(std::ranges::count(Calls(), "BeginTrans"), 1);
}

TEST_F(AdoTransactions, DoNotHoldAUnit) {
    connection->RunAsUnit([&] { connection->Execute("UPDATE t"); });
    EXPECT_EQ(Calls(), std::vector<std::string>{"Execute UPDATE t  129"});
}

}  // namespace
}  // namespace iqrx::platform::ado
