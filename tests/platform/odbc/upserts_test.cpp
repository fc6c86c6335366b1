// Upserts that travel together, as a server that speaks TDS gets them from FreeTDS, and what becomes of them
// when one of them fails. No server that knows T-SQL has read these texts.
#include "platform/odbc/upserts.h"

#include <gmock/gmock.h>

#include <functional>
#include <map>
#include <random>
#include <regex>
#include <tuple>

#include "platform/error.h"
#include "platform/odbc/odbc_database.h"
#include "platform/odbc/settings.h"
#include "support/heard.h"
#include "support/tds_server.h"

namespace iqrx::platform::odbc {
namespace {

using iqrx::testing::Heard;
using iqrx::testing::TdsReply;
using iqrx::testing::TdsServer;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::Ge;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Le;
using ::testing::StartsWith;
using ::testing::ThrowsMessage;

std::string Update(int key, int number = 1) {
    return "UPDATE t SET n = " + std::to_string(number) + " WHERE k = " + std::to_string(key);
}
std::string Insert(int key, int number = 1) {
    return "INSERT INTO t (k,n) VALUES (" + std::to_string(key) + "," + std::to_string(number) + ")";
}
std::string Together(const std::vector<int>& keys) {
    std::string text;
    for (const int key : keys) text += Update(key) + "; IF @@ROWCOUNT = 0 " + Insert(key) + ";\r\n";
    return text;
}

TdsReply Reply(const std::vector<std::uint64_t>& counts) {
    TdsReply reply;
    for (const std::uint64_t count : counts) reply.Count(count, TdsReply::kUpdate);
    return reply;
}
const TdsReply kKeyConflict = TdsReply().Error(2627, "Violation of PRIMARY KEY constraint");

std::string ConnectionTo(const TdsServer& server) {
    return "Driver=FreeTDS;Server=127.0.0.1;Port=" + std::to_string(server.Port()) +
           ";TDS_Version=7.4;Database=qrx;Uid=copy;Pwd=secret";
}

class UpsertsOverOdbc : public ::testing::Test {
protected:
    void Connect(const std::string& keys) { connection->Open(ConnectionTo(server) + keys); }
    void ConnectWithThreePerTrip(const std::string& keys = "") { Connect(";Rows per Trip=3" + keys); }
    void GivenRow(int key) { server.WhenSent(Update(key), Reply({1})); }
    void GivenNoRow(int key) {
        server.WhenSent(Update(key), Reply({0}));
        server.WhenSent(Insert(key), Reply({1}));
    }

    void Upsert(int key) {
        connection->Upsert(
            Update(key), [text = Insert(key)] { return Statement(text); }, heard);
    }
    void UpsertAll(const std::vector<int>& keys) {
        for (const int key : keys) Upsert(key);
    }

    TdsServer server;
    Heard heard;
    std::unique_ptr<Connection> connection = CreateOdbcConnection({"tstables"});
};

TEST_F(UpsertsOverOdbc, AreOneStatementACallUnlessToldOtherwise) {
    for (const char* keys : {"", ";Rows per Trip=1"}) {
        connection = CreateOdbcConnection({});
        Connect(keys);
        GivenRow(1);
        GivenNoRow(2);
        const std::size_t before = server.Texts().size();

        Upsert(1);
        EXPECT_THAT(heard.said, ElementsAre("updated 1"));
        Upsert(2);
        EXPECT_THAT(heard.said, ElementsAre("updated 1", "updated 0", "inserted 1"));

        const auto texts = server.Texts();
        EXPECT_THAT(std::vector(texts.begin() + static_cast<std::ptrdiff_t>(before), texts.end()),
                    ElementsAre(Update(1), Update(2), Insert(2)));
        heard.said.clear();
    }
}

TEST_F(UpsertsOverOdbc, TravelTogetherAsOneTextAndOneTransaction) {
    ConnectWithThreePerTrip();
    server.WhenSent(Together({1, 2, 3}), Reply({1, 0, 1, 2}));

    UpsertAll({1, 2});
    EXPECT_THAT(server.Texts(), IsEmpty());
    EXPECT_THAT(heard.said, IsEmpty());
    Upsert(3);

    EXPECT_THAT(server.Texts(), ElementsAre("(begin)", Together({1, 2, 3}), "(commit)(begin)", "(roll back)"));
    EXPECT_THAT(heard.said, ElementsAre("updated 1", "updated 0", "inserted 1", "updated 2"));
}

// A driver says "no data" where the first of them has found no row.
TEST_F(UpsertsOverOdbc, AreToldInTheirOrderWhicheverOfThemFindTheirRow) {
    ConnectWithThreePerTrip();
    for (int found = 0; found < 8; ++found) {
        std::vector<std::uint64_t> counts;
        std::vector<std::string> expected;
        for (int bit = 1; bit < 8; bit *= 2) {
            const bool isThere = (found & bit) != 0;
            counts.insert(counts.end(), isThere ? std::initializer_list<std::uint64_t>{1}
                                                : std::initializer_list<std::uint64_t>{0, 1});
            expected.push_back(isThere ? "updated 1" : "updated 0");
            if (!isThere) expected.push_back("inserted 1");
        }
        server.WhenSent(Together({1, 2, 3}), Reply(counts));
        heard.said.clear();

        UpsertAll({1, 2, 3});

        EXPECT_EQ(heard.said, expected) << found;
    }
}

TEST_F(UpsertsOverOdbc, OfTheSameKeyStandOneAfterTheOther) {
    ConnectWithThreePerTrip();
    server.WhenSent(Together({7, 7, 7}), Reply({0, 1, 1, 1}));

    UpsertAll({7, 7, 7});

    EXPECT_THAT(heard.said, ElementsAre("updated 0", "inserted 1", "updated 1", "updated 1"));
}

TEST_F(UpsertsOverOdbc, GoBeforeWhateverElseIsAsked) {
    const std::vector<std::function<void()>> others{
        [&] { connection->AwaitAnswers(); },
        [&] { connection->Execute("DELETE FROM t"); },
        [&] {
            Heard own;
            connection->Send("DELETE FROM t", own);
        },
        [&] {
            server.WhenSent("SELECT k, n FROM t", TdsReply().Rows("k", "n", {{1, "1"}}));
            connection->CreateRecordset()->Open("SELECT k, n FROM t", CursorType::ForwardOnly,
                                                LockType::ReadOnly);
        },
        [&] { connection->DefaultDatabase(); },
        [&] {
            server.WhenSent("USE [other]", TdsReply().Database("other").NoCount());
            connection->SetDefaultDatabase("other");
        },
        [&] { connection->SetCommandTimeout(7); },
        [&] { connection->Commit(); },
        [&] { connection->RunExclusively([&] { EXPECT_EQ(heard.said.size(), 2U); }); },
        [&] { connection->Close(); }};
    for (std::size_t i = 0; i < others.size(); ++i) {
        connection = CreateOdbcConnection({});
        ConnectWithThreePerTrip();
        server.WhenSent(Together({1, 2}), Reply({1, 1}));
        const std::size_t before = server.Texts().size();
        heard.said.clear();
        UpsertAll({1, 2});

        others[i]();

        const auto texts = server.Texts();
        ASSERT_GE(texts.size(), before + 3) << i;
        EXPECT_EQ(texts[before + 1], Together({1, 2})) << i;
        EXPECT_THAT(heard.said, ElementsAre("updated 1", "updated 1")) << i;
    }
}

TEST_F(UpsertsOverOdbc, AreSentAsEverWhereOneIsAlone) {
    ConnectWithThreePerTrip();
    GivenNoRow(1);

    Upsert(1);
    connection->AwaitAnswers();

    EXPECT_THAT(server.Texts(), ElementsAre(Update(1), Insert(1)));
    EXPECT_THAT(heard.said, ElementsAre("updated 0", "inserted 1"));
}

TEST_F(UpsertsOverOdbc, OfAControlTableWaitForTheirAnswers) {
    ConnectWithThreePerTrip();
    server.WhenSent("UPDATE tstables SET in_use = 1", Reply({1}));

    connection->Upsert(
        "UPDATE tstables SET in_use = 1",
        [] { return Statement("INSERT INTO tstables (in_use) VALUES (1)"); }, heard);

    EXPECT_THAT(server.Texts(), ElementsAre("UPDATE tstables SET in_use = 1"));
}

// The server goes on after a statement that fails: after an update with its insert. The driver gives up what
// it would not read.
TEST_F(UpsertsOverOdbc, AreTakenBackWhereOneFailsAndDoneAgainUpToThatOne) {
    ConnectWithThreePerTrip();
    const TdsReply tooLong = TdsReply().Error(2628, "would be truncated");
    server.WhenSent(Together({1, 2, 3}), TdsReply()
                                             .Count(0, TdsReply::kUpdate)
                                             .Count(1, TdsReply::kInsert)
                                             .Error(2628, "would be truncated")
                                             .Error(2628, "would be truncated")
                                             .Count(1, TdsReply::kUpdate));
    GivenNoRow(1);
    server.WhenSent(Update(2), tooLong);

    EXPECT_THAT(
        [&] {
            UpsertAll({1, 2, 3});
        },
        ThrowsMessage<RuntimeError>(
            AllOf(StartsWith("[22001] "), EndsWith("would be truncated (table t, row k = 2)"))));

    EXPECT_THAT(connection->LastErrors().at(0).description, HasSubstr("row k = 2"));
    EXPECT_THAT(server.Texts(), ElementsAre("(begin)", Together({1, 2, 3}), "(cancel)", "(roll back)(begin)",
                                            "(roll back)", Update(1), Insert(1), Update(2)));
    EXPECT_THAT(heard.said, ElementsAre("updated 0", "inserted 1", StartsWith("failed: "), "not sent"));
    EXPECT_NO_THROW(connection->AwaitAnswers()) << "an error is raised once";
}

TEST_F(UpsertsOverOdbc, TellThatTheInsertFailedAfterTheUpdateFoundNoRow) {
    ConnectWithThreePerTrip();
    server.WhenSent(Together({1, 2, 3}), TdsReply()
                                             .Count(1, TdsReply::kUpdate)
                                             .Count(0, TdsReply::kUpdate)
                                             .Error(2627, "Violation of PRIMARY KEY constraint")
                                             .Count(1, TdsReply::kUpdate));
    GivenRow(1);
    GivenNoRow(2);
    server.WhenSent(Insert(2), kKeyConflict);

    EXPECT_THAT([&] { UpsertAll({1, 2, 3}); }, ThrowsMessage<RuntimeError>(HasSubstr("PRIMARY KEY")));

    EXPECT_THAT(heard.said, ElementsAre("updated 1", "updated 0", StartsWith("failed: "), "not sent"));
}

TEST_F(UpsertsOverOdbc, AreWrittenAfterAllWhereTheServerHadPickedThemAsVictim) {
    ConnectWithThreePerTrip();
    server.WhenSent(Together({1, 2, 3}),
                    TdsReply().Count(1, TdsReply::kUpdate).Error(1205, "was chosen as the deadlock victim"));
    for (const int key : {1, 2, 3}) GivenRow(key);

    UpsertAll({1, 2, 3});

    EXPECT_THAT(server.Texts(), ElementsAre("(begin)", Together({1, 2, 3}), "(roll back)(begin)",
                                            "(roll back)", Update(1), Update(2), Update(3)));

    EXPECT_THAT(heard.said, ElementsAre("updated 1", "updated 1", "updated 1"));
    EXPECT_THAT(connection->LastErrors(), IsEmpty());
}

TEST_F(UpsertsOverOdbc, WhoseCommitFailsAreDoneAgain) {
    ConnectWithThreePerTrip();
    server.WhenSent(Together({1, 2, 3}), Reply({1, 1, 1}));
    server.WhenSent("(commit)", TdsReply().Error(9002, "The transaction log is full"));
    GivenRow(1);
    server.WhenSent(Update(2), TdsReply().Error(9002, "The transaction log is full"));

    EXPECT_THAT(
        [&] {
            UpsertAll({1, 2, 3});
        },
        ThrowsMessage<RuntimeError>(HasSubstr("The transaction log is full")));

    EXPECT_THAT(heard.said, ElementsAre("updated 1", StartsWith("failed: "), "not sent"));
}

TEST_F(UpsertsOverOdbc, WhoseCountsDoNotFitAreTakenBackWithAnErrorThatSaysSo) {
    for (const auto& counts : {std::vector<std::uint64_t>{1, 1}, {1, 1, 1, 1}, {1, 1, 0}, {0, 1, 1}}) {
        connection = CreateOdbcConnection({});
        ConnectWithThreePerTrip();
        heard.said.clear();
        server.WhenSent(Together({1, 2, 3}), Reply(counts));

        EXPECT_THAT(
            [&] {
                UpsertAll({1, 2, 3});
            },
            ThrowsMessage<RuntimeError>(
                AllOf(StartsWith(std::to_string(counts.size()) + " counts came for 3 rows"),
                      HasSubstr("none of them was written"), HasSubstr("Rows per Trip"))));

        const auto texts = server.Texts();
        EXPECT_EQ(texts.at(texts.size() - 2), "(roll back)(begin)");
        EXPECT_THAT(heard.said, ElementsAre(StartsWith("failed: "), "not sent", "not sent"));
    }
}

TEST_F(UpsertsOverOdbc, OfWhichTheLinkBreaksAreNotToldAsWritten) {
    ConnectWithThreePerTrip();
    server.BreakOff(Together({1, 2, 3}), Reply({1, 1}));

    EXPECT_THAT(
        [&] {
            UpsertAll({1, 2, 3});
        },
        ThrowsMessage<RuntimeError>(StartsWith("The connection to the database was lost")));

    EXPECT_EQ(connection->LastErrors().at(0).sqlState, "08S01");
    EXPECT_THAT(heard.said, ElementsAre(StartsWith("failed: "), "not sent", "not sent"));
}

TEST_F(UpsertsOverOdbc, ThatFailAreNotTheFailureOfTheStatementThatMeetsIt) {
    ConnectWithThreePerTrip();
    server.WhenSent(Together({1, 2}), kKeyConflict);
    server.WhenSent(Update(1), kKeyConflict);
    UpsertAll({1, 2});

    EXPECT_THROW(connection->Send("DELETE FROM t", heard), RuntimeError);

    EXPECT_THAT(heard.said, ElementsAre(StartsWith("failed: "), "not sent", "not sent"));
    EXPECT_THAT(server.Texts(), ::testing::Not(::testing::Contains("DELETE FROM t")));
}

TEST_F(UpsertsOverOdbc, OfWhichOneHasNoInsertYetAreSentBeforeIt) {
    ConnectWithThreePerTrip();
    server.WhenSent(Together({1, 2}), Reply({1, 1}));
    GivenRow(3);
    UpsertAll({1, 2});

    connection->Upsert(
        Update(3), []() -> Statement { RaiseRuntimeError(kTypeMismatch); }, heard);

    EXPECT_EQ(server.Texts().back(), Update(3));
    EXPECT_THAT(heard.said, ElementsAre("updated 1", "updated 1", "updated 1"));
}

TEST_F(UpsertsOverOdbc, WhoseHearerFailsAreNotToldFurther) {
    struct Overflowing : Heard {
        void Updated(std::int32_t affected) override {
            Heard::Updated(affected);
            if (said.size() == 2) RaiseRuntimeError(kOverflow);
        }
    } overflowing;
    ConnectWithThreePerTrip();
    server.WhenSent(Together({1, 2, 3}), Reply({1, 1, 1}));
    const auto upsert = [&](int key) {
        connection->Upsert(
            Update(key), [text = Insert(key)] { return Statement(text); }, overflowing);
    };
    upsert(1);
    upsert(2);

    EXPECT_THROW(upsert(3), RuntimeError);

    EXPECT_THAT(overflowing.said, ElementsAre("updated 1", "updated 1", "not sent"));
}

TEST_F(UpsertsOverOdbc, EndTheGroupOfStatementsBeforeThem) {
    ConnectWithThreePerTrip(";Commit Interval=600000");
    server.WhenSent(Together({1, 2, 3}), Reply({1, 1, 1}));
    connection->Execute("DELETE FROM t WHERE k = 9");

    UpsertAll({1, 2, 3});

    EXPECT_THAT(server.Texts(),
                ElementsAre("(begin)", "DELETE FROM t WHERE k = 9", "(commit)(begin)", "(roll back)",
                            "(begin)", Together({1, 2, 3}), "(commit)(begin)", "(roll back)"));
    EXPECT_NO_THROW(connection->Commit());
}

TEST_F(UpsertsOverOdbc, OfAUnitBelongToItAndThoseBeforeItDoNot) {
    ConnectWithThreePerTrip(";Commit Interval=600000");
    server.WhenSent(Together({1, 2}), Reply({1, 1}));
    GivenNoRow(3);
    UpsertAll({1, 2});

    connection->RunAsUnit([&] {
        EXPECT_EQ(heard.said.size(), 2U);
        Upsert(3);
        EXPECT_EQ(heard.said.size(), 4U);
    });
    connection->Commit();

    EXPECT_THAT(server.Texts(), ElementsAre("(begin)", Together({1, 2}), "(commit)(begin)", "(roll back)",
                                            "(begin)", Update(3), Insert(3), "(commit)(begin)", "(roll back)"));
}

// Without a group a unit is no more than its statements.
TEST_F(UpsertsOverOdbc, OfUnitsTravelTogetherWhereEachStatementStandsByItself) {
    ConnectWithThreePerTrip();
    server.WhenSent(Together({1, 2, 3}), Reply({1, 1, 1}));

    for (const int key : {1, 2, 3}) connection->RunAsUnit([&] { Upsert(key); });

    EXPECT_THAT(server.Texts(), ElementsAre("(begin)", Together({1, 2, 3}), "(commit)(begin)", "(roll back)"));
    EXPECT_EQ(heard.said.size(), 3U);
}

TEST_F(UpsertsOverOdbc, ComeAfterTheRowsThatWereAddedBefore) {
    ConnectWithThreePerTrip();
    server.WhenSent("SELECT k, n FROM t", TdsReply().Rows("k", "n", {}));
    server.WhenSent(Together({1, 2, 3}), Reply({1, 1, 1}));
    const auto rows = connection->CreateRecordset();
    rows->Open("SELECT k, n FROM t", CursorType::Keyset, LockType::Optimistic);
    rows->AddNew();
    rows->SetField(0, Value(Long{9}));
    rows->Update();

    UpsertAll({1, 2, 3});
    rows->Close();

    EXPECT_THAT(server.Texts(), ElementsAre("SELECT k, n FROM t", "(call)", "(begin)", Together({1, 2, 3}),
                                            "(commit)(begin)", "(roll back)"));
}

TEST_F(UpsertsOverOdbc, ThatNobodyWaitedForAreForgottenWithTheConnection) {
    ConnectWithThreePerTrip();
    UpsertAll({1, 2});

    connection.reset();

    EXPECT_THAT(server.Texts(), IsEmpty());
    EXPECT_THAT(heard.said, IsEmpty());
}

TEST_F(UpsertsOverOdbc, RefuseANumberOfRowsThatIsNone) {
    for (const char* rows : {"0", "10001", "-1", "many", "3.5", ""})
        EXPECT_THAT([&] { Connect(std::string(";Rows per Trip=") + rows); },
                    ThrowsMessage<RuntimeError>(
                        HasSubstr("the value of Rows per Trip is not a whole number from 1 to 10000")))
            << rows;
}

// A table of two numbers in a server's place, in which 13 is no number. As a server does, it goes on after
// what fails, which has affected no row.
class Table {
public:
    std::optional<TdsReply> Answer(const std::string& text) {
        static const std::regex kStatement(
            R"(UPDATE t SET n = (\d+) WHERE k = (\d+)|(IF @@ROWCOUNT = 0 )?INSERT INTO t \(k,n\) VALUES \((\d+),(\d+)\))");
        if (text == "(begin)" || text == "(commit)") saved_ = rows;
        if (text == "(roll back)") rows = saved_;
        if (text.front() == '(') return std::nullopt;
        TdsReply reply;
        bool hasAffected = false;
        for (std::sregex_iterator found(text.begin(), text.end(), kStatement), end; found != end; ++found) {
            const std::smatch& part = *found;
            if (part[1].matched)
                hasAffected = Update(std::stoi(part[2]), std::stoi(part[1]), reply);
            else if (!part[3].matched || !hasAffected)
                hasAffected = Insert(std::stoi(part[4]), std::stoi(part[5]), reply);
        }
        return reply;
    }

    std::map<int, int> rows{{1, 0}, {2, 0}, {5, 0}};

private:
    bool Update(int key, int number, TdsReply& reply) {
        const bool isThere = rows.contains(key);
        if (isThere && number == 13) return Fail(reply);
        if (isThere) rows[key] = number;
        reply.Count(isThere ? 1 : 0, TdsReply::kUpdate);
        return isThere;
    }
    bool Insert(int key, int number, TdsReply& reply) {
        if (number == 13 || rows.contains(key)) return Fail(reply);
        rows[key] = number;
        reply.Count(1, TdsReply::kInsert);
        return true;
    }
    static bool Fail(TdsReply& reply) {
        reply.Error(547, "The statement conflicted with the CHECK constraint");
        return false;
    }

    std::map<int, int> saved_;
};

using Records = std::vector<std::pair<int, int>>;

// What is left, what was said up to the failure, and the failure.
std::tuple<std::map<int, int>, std::vector<std::string>, std::string> Copied(const Records& records,
                                                                             const std::string& keys) {
    Table table;
    TdsServer server;
    server.WhenSentAnything([&](const std::string& text) { return table.Answer(text); });
    Heard heard;
    std::string error;
    {
        const auto connection = CreateOdbcConnection({});
        connection->Open(ConnectionTo(server) + keys);
        try {
            for (const auto& [key, number] : records)
                connection->Upsert(
                    Update(key, number), [text = Insert(key, number)] { return Statement(text); }, heard);
            connection->AwaitAnswers();
        } catch (const RuntimeError& raised) {
            error = raised.description;
        }
        connection->Close();
    }
    std::erase(heard.said, "not sent");
    return {table.rows, heard.said, error};
}

TEST(UpsertsTogether, LeaveWhatTheyLeaveOneByOne) {
    std::mt19937 random(20261122);  // the same rows each time
    std::uniform_int_distribution key(0, 9), number(1, 60);
    int failed = 0;
    for (int round = 0; round < 10; ++round) {
        Records records;
        for (int i = 0; i < 30; ++i) records.emplace_back(key(random), number(random));
        const auto expected = Copied(records, "");
        failed += std::get<2>(expected).empty() ? 0 : 1;
        for (const char* keys : {";Rows per Trip=2", ";Rows per Trip=3", ";Rows per Trip=7",
                                 ";Rows per Trip=100", ";Rows per Trip=7;Commit Interval=600000"})
            EXPECT_EQ(Copied(records, keys), expected) << keys;
    }
    EXPECT_THAT(failed, AllOf(Ge(1), Le(9))) << "both ways are to be seen";
}

TEST(OdbcSettings, LeaveTheDriverItsOwnKeys) {
    const Settings settings = SettingsOf("Driver=x;ROWS PER TRIP=10000;Uid=u;commit interval=20");

    EXPECT_EQ(settings.rowsPerTrip, 10000U);
    EXPECT_EQ(settings.commitInterval, 20);
    EXPECT_EQ(settings.driverText, "Driver=x;Uid=u;");
    EXPECT_EQ(SettingsOf("Driver=x").rowsPerTrip, 1U);
}

}  // namespace
}  // namespace iqrx::platform::odbc
