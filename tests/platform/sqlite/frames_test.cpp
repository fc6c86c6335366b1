// Units and exclusive sections: what stands or falls together, and what is told of writes that were lost.
#include <gmock/gmock.h>
#include <signal.h>
#include <sqlite3.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include "fixture.h"

namespace iqrx::platform::sqlite {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class Frames : public DatabaseTest {
protected:
    Frames() {
        Create("CREATE TABLE t(k INTEGER PRIMARY KEY, v TEXT NOT NULL); CREATE TABLE tstables(in_use)");
    }

    std::vector<std::string> Kept() {  // as another connection finds them
        std::vector<std::string> keys;
        const auto other = Connect();
        for (auto rows = Select(*other, "SELECT k FROM t"); !rows->Eof(); rows->MoveNext())
            keys.push_back(ToText(rows->Field(0)));
        return keys;
    }

    // Takes the write lock as any program may do that knows nothing of ours; false when somebody else has it.
    bool AForeignWriterGetsIn() {
        sqlite3* database = nullptr;
        sqlite3_open(file.c_str(), &database);
        const bool in =
            sqlite3_exec(database, "BEGIN IMMEDIATE; ROLLBACK", nullptr, nullptr, nullptr) == SQLITE_OK;
        sqlite3_close(database);
        return in;
    }
};

TEST_F(Frames, AFailingUnitTakesItsOwnWritesBackAndNoOthers) {
    Execute("INSERT INTO t (k,v) VALUES(1,N'before')");

    EXPECT_THROW(Db().RunAsUnit([&] {
        Execute("DELETE FROM t WHERE k = 1");
        Execute("INSERT INTO t (k,v) VALUES(2,NULL)");
    }),
                 RuntimeError);

    EXPECT_THAT(Db().LastErrors().at(0).description, HasSubstr("NOT NULL"));
    EXPECT_THAT(Kept(), ElementsAre("1"));
    EXPECT_EQ(Execute("INSERT INTO t (k,v) VALUES(3,N'after')"), 1);
}

// Foreign keys are what a commit may be refused for without the end of its transaction.
int EnforceForeignKeys(sqlite3* database, const char**, const void*) {
    return sqlite3_exec(database, "PRAGMA foreign_keys=ON", nullptr, nullptr, nullptr);
}

TEST_F(Frames, AGroupWhoseCommitIsRefusedIsRolledBackAndTheNextOneBegins) {
    Create(
        "CREATE TABLE area(k INTEGER PRIMARY KEY);"
        "CREATE TABLE member(area INTEGER REFERENCES area(k) DEFERRABLE INITIALLY DEFERRED)");
    const auto extension = reinterpret_cast<void (*)()>(EnforceForeignKeys);
    sqlite3_auto_extension(extension);
    Db();
    sqlite3_cancel_auto_extension(extension);

    Execute("INSERT INTO member (area) VALUES(7)");
    EXPECT_THROW(Db().Commit(), WritesLost);

    EXPECT_EQ(Execute("INSERT INTO t (k,v) VALUES(1,N'after')"), 1);
    Db().Commit();
    EXPECT_THAT(Kept(), ElementsAre("1"));
    EXPECT_THAT(Rows("SELECT area FROM member", 1), IsEmpty());
}

TEST_F(Frames, AUnitThatACrashCutsInTwoLeavesNothing) {
    Execute("INSERT INTO t (k,v) VALUES(1,N'x')");
    Db().Close();
    connection.reset();

    const pid_t child = fork();
    if (child == 0) {
        auto own = Connect();
        own->RunAsUnit([&] {
            own->Execute("DELETE FROM t WHERE k = 1");
            usleep(300'000);  // longer than a group stays open
            kill(getpid(), SIGKILL);
        });
    }
    waitpid(child, nullptr, 0);

    EXPECT_THAT(Kept(), ElementsAre("1"));
}

TEST_F(Frames, AUnitThatOnlyReadsHoldsNoWriterUp) {
    Db().RunAsUnit([&] {
        Select("SELECT * FROM t");
        EXPECT_TRUE(AForeignWriterGetsIn());
    });
}

TEST_F(Frames, AnExclusiveSectionKeepsEveryOtherWriterOutFromItsBeginningOn) {
    Db().RunExclusively([&] { EXPECT_FALSE(AForeignWriterGetsIn()); });
    EXPECT_TRUE(AForeignWriterGetsIn());
}

TEST_F(Frames, AnExclusiveSectionIsKeptWhenItReturns) {
    Db().RunExclusively([&] { Execute("INSERT INTO t (k,v) VALUES(1,N'x')"); });
    EXPECT_THAT(Kept(), ElementsAre("1"));
}

TEST_F(Frames, AFailingExclusiveSectionLeavesNothingAndGoesOutOfTheWay) {
    EXPECT_THROW(Db().RunExclusively([&] {
        Execute("INSERT INTO t (k,v) VALUES(1,N'x')");
        Execute("INSERT INTO t (k,v) VALUES(2,NULL)");
    }),
                 RuntimeError);
    EXPECT_THAT(Kept(), IsEmpty());
    EXPECT_TRUE(AForeignWriterGetsIn());
    EXPECT_EQ(Execute("INSERT INTO t (k,v) VALUES(3,N'after')"), 1);
}

// Files as long as they are now and no longer, as on a full disk, in a process of its own. Ends with 0 when
// `body` returns true.
template <class Body>
int WithoutRoomToGrow(Body body) {
    const pid_t child = fork();
    if (child == 0) {
        signal(SIGXFSZ, SIG_IGN);
        _exit(body([](rlim_t bytes) {
            rlimit limit{};
            getrlimit(RLIMIT_FSIZE, &limit);
            limit.rlim_cur = bytes;
            setrlimit(RLIMIT_FSIZE, &limit);
        })
                  ? 0
                  : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    return status;
}

template <class Work>
bool Loses(Work work) {
    try {
        work();
        return false;
    } catch (const WritesLost&) {
        return true;
    }
}

TEST_F(Frames, AGroupThatCannotBeCommittedIsRaisedOnceByCommitAndTheConnectionGoesOn) {
    EXPECT_EQ(WithoutRoomToGrow([&](auto limitFiles) {
                  auto own = Connect();
                  own->Execute("INSERT INTO t (k,v) VALUES(1,N'" + std::string(500'000, 'x') + "')");
                  limitFiles(100'000);
                  const bool lost = Loses([&] { own->Commit(); });
                  limitFiles(RLIM_INFINITY);
                  own->Commit();
                  own->Execute("INSERT INTO t (k,v) VALUES(2,N'x')");
                  own->Commit();
                  return lost;
              }),
              0);
    EXPECT_THAT(Kept(), ElementsAre("2"));
}

TEST_F(Frames, WhatTheDatabaseTookBackByItselfIsRaisedUntilCommitHasRaisedIt) {
    ApplySqliteScript(file, "CREATE TABLE strict(k INTEGER PRIMARY KEY ON CONFLICT ROLLBACK)");
    Execute("INSERT INTO t (k,v) VALUES(1,N'x')");
    Execute("INSERT INTO strict (k) VALUES(1)");

    EXPECT_THAT(ErrorOf("INSERT INTO strict (k) VALUES(1)"), HasSubstr("UNIQUE"));

    EXPECT_TRUE(Loses([&] { Execute("INSERT INTO t (k,v) VALUES(2,N'x')"); }));
    EXPECT_THAT(Db().LastErrors().at(0).description,
                HasSubstr("writes that were reported done before are lost"));
    EXPECT_TRUE(Loses([&] { Select("SELECT * FROM t"); }));
    EXPECT_TRUE(Loses([&] { Db().Commit(); }));
    EXPECT_EQ(Execute("INSERT INTO t (k,v) VALUES(3,N'x')"), 1);
    Db().Commit();
    EXPECT_THAT(Kept(), ElementsAre("3"));
}

TEST_F(Frames, ALossIsNotTakenForThatOfStatisticsOrOfAClosing) {
    ApplySqliteScript(file, "CREATE TABLE strict(k INTEGER PRIMARY KEY ON CONFLICT ROLLBACK)");
    Execute("INSERT INTO strict (k) VALUES(1)");
    ErrorOf("INSERT INTO strict (k) VALUES(1)");

    EXPECT_TRUE(Loses([&] { Execute("UPDATE STATISTICS t"); }));
    EXPECT_TRUE(Loses([&] { Db().Commit(); })) << "whoever ignores the failure of statistics hears of it here";
}

TEST_F(Frames, CommitKeepsWhatWasReportedDone) {
    Execute("INSERT INTO t (k,v) VALUES(1,N'x')");
    Db().Commit();
    EXPECT_TRUE(AForeignWriterGetsIn());
    EXPECT_THAT(Kept(), ElementsAre("1"));
}

}  // namespace
}  // namespace iqrx::platform::sqlite
