// Connections that only read: for somebody who may not write, and who leaves nothing behind.
#include <gmock/gmock.h>
#include <unistd.h>

#include "fixture.h"

namespace iqrx::platform::sqlite {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;

class ReadOnlyConnections : public DatabaseTest {
protected:
    ~ReadOnlyConnections() override { fs::permissions(directory, fs::perms::owner_all); }

    std::unique_ptr<Connection> ConnectToRead() const {
        auto opened = CreateSqliteConnection({"tstables"});
        opened->Open("Provider=SQLite;Data Source=" + file.string() + ";Mode=ReadOnly");
        return opened;
    }
    std::vector<std::string> Files() const {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(directory)) names.push_back(entry.path().filename());
        return names;
    }
    static int Count(Connection& from) { return ToLong(Select(from, "SELECT count(*) FROM t")->Field(0)); }
};

// The superuser may do everything: for a while it becomes somebody who may not.
class AsSomebodyElse {
public:
    AsSomebodyElse() {
        constexpr uid_t kNobody = 65534;
        if (user_ == 0 && seteuid(kNobody) != 0)
            throw std::runtime_error("the test cannot give up its rights");
    }
    ~AsSomebodyElse() {
        if (user_ == 0 && seteuid(user_) != 0) std::abort();
    }

private:
    const uid_t user_ = geteuid();
};

TEST_F(ReadOnlyConnections, ReadAFileThatNobodyMayWriteInADirectoryThatNobodyMayWrite) {
    Create("CREATE TABLE t(a); INSERT INTO t VALUES (1), (2)");
    fs::permissions(file, fs::perms(0444));
    fs::permissions(directory, fs::perms(0555));
    const AsSomebodyElse now;
    EXPECT_EQ(Count(*ConnectToRead()), 2);
}

TEST_F(ReadOnlyConnections, LeaveNothingBesideTheFile) {
    Create("CREATE TABLE t(a)");
    auto reader = ConnectToRead();
    EXPECT_EQ(Count(*reader), 0);
    EXPECT_THAT(Files(), ElementsAre("local.db"));
    reader->Commit();
    reader.reset();
    EXPECT_THAT(Files(), ElementsAre("local.db"));
}

TEST_F(ReadOnlyConnections, FindWhatAWriterHasCommittedAndNotYetWorkedIntoTheFile) {
    Create("CREATE TABLE t(a)");
    Execute("INSERT INTO t(a) VALUES (1)");
    Db().Commit();
    auto reader = ConnectToRead();
    EXPECT_EQ(Count(*reader), 1);
    Execute("INSERT INTO t(a) VALUES (2)");
    Db().Commit();
    EXPECT_EQ(Count(*reader), 2);
    EXPECT_NO_THROW(reader->Commit());
}

TEST_F(ReadOnlyConnections, ReadResultsOfAnyLength) {
    Create(
        "CREATE TABLE t(a); WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 999) "
        "INSERT INTO t SELECT i FROM n");
    auto reader = ConnectToRead();
    auto rows = Select(*reader, "SELECT a FROM t");
    int count = 0;
    for (; !rows->Eof(); rows->MoveNext()) ++count;
    EXPECT_EQ(count, 999);
}

TEST_F(ReadOnlyConnections, TellWhenTheFileChangedWhileItWasReadWithoutLocks) {
    Create("CREATE TABLE t(a)");
    auto reader = ConnectToRead();
    EXPECT_EQ(Count(*reader), 0);
    Execute("INSERT INTO t(a) VALUES (1)");
    connection.reset();  // which works it into the file
    EXPECT_THROW(reader->Commit(), RuntimeError);
    EXPECT_EQ(Count(*ConnectToRead()), 1);
}

TEST_F(ReadOnlyConnections, WriteNothing) {
    Create("CREATE TABLE t(a)");
    auto reader = ConnectToRead();
    EXPECT_THROW(reader->Execute("INSERT INTO t(a) VALUES (1)"), RuntimeError);
    EXPECT_EQ(Count(*reader), 0);
}

TEST_F(ReadOnlyConnections, SayThatAFileMayNotBeReadAndDoNotCreateOne) {
    Create("CREATE TABLE t(a)");
    fs::permissions(directory, fs::perms(0755));
    fs::permissions(file, fs::perms::none);
    const auto complaint = [&] {
        try {
            ConnectToRead();
            return std::string();
        } catch (const RuntimeError& error) {
            return error.description;
        }
    };
    {
        const AsSomebodyElse now;
        EXPECT_EQ(complaint(), "The database file cannot be opened (Permission denied): " + file.string());
    }
    fs::permissions(directory, fs::perms::none);
    {
        const AsSomebodyElse now;
        EXPECT_EQ(complaint(), "The database file cannot be opened (Permission denied): " + file.string());
    }
    fs::permissions(directory, fs::perms::owner_all);
    fs::remove(file);
    EXPECT_EQ(complaint(), "The database file does not exist: " + file.string());
    EXPECT_THAT(Files(), ElementsAre());
}

TEST_F(ReadOnlyConnections, TakeAnyNameOfAFile) {
    file = directory / "50 % off? #1.db";
    Create("CREATE TABLE t(a)");
    EXPECT_EQ(Count(*ConnectToRead()), 0);
}

}  // namespace
}  // namespace iqrx::platform::sqlite
