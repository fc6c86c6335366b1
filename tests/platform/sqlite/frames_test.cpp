// Units and exclusive sections: what stands or falls together, and what is told of writes that were lost.
#include <gmock/gmock.h>
#include <sqlite3.h>
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

TEST_F(Frames, CommitKeepsWhatWasReportedDone) {
    Execute("INSERT INTO t (k,v) VALUES(1,N'x')");
    Db().Commit();
    EXPECT_TRUE(AForeignWriterGetsIn());
    EXPECT_THAT(Kept(), ElementsAre("1"));
}

}  // namespace
}  // namespace iqrx::platform::sqlite
