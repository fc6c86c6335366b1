// What every adapter of the database port does. The suites in the database_contract_*_test.cpp run against
// each Adapter that some file instantiates them with; where adapters differ, they are instantiated with other
// suites, or declare it in their Quirks.
#pragma once

#include <gmock/gmock.h>

#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "platform/database.h"
#include "support/recording_database.h"

namespace iqrx::platform {

void PrintTo(const Value& value, std::ostream* out);

}  // namespace iqrx::platform

namespace iqrx::testing {

std::string ServerBlock(const std::string& table, int id);  // SQL Server's

struct Quirks {
    std::string momentType = "DATETIME";  // of a column that holds date and time
    // A text of several statements: what it begins with, then any number of blocks, each of which names the
    // item of a table "new" or adds it.
    std::string batchHead = "DECLARE @iCount int\r\n";
    std::function<std::string(const std::string& table, int id)> block = ServerBlock;
    std::vector<std::string> uncounted = {"CREATE TABLE others (id INTEGER)", "DROP TABLE others"};
};

// A database under the contract, empty at first. Connections must be gone before it is.
class Adapter {
public:
    virtual ~Adapter() = default;

    virtual const Quirks& GetQuirks() const = 0;
    virtual std::unique_ptr<platform::Connection> CreateConnection() = 0;
    virtual std::string ConnectionString() = 0;
    virtual std::string UnusableConnectionString() = 0;

    // Runs a text that defines tables.
    virtual void Define(platform::Connection& connection, const std::string& text) {
        connection.Execute(text);
    }

    // The items that a text opens and changes. Databases know by themselves; the fake is told.
    virtual void Tell(const std::string&, const SharedRows&) {}

    // For the adapters of the server suite: the server ends at once, without a word to its connections.
    virtual void StopServer() {}
};

// Makes an adapter anew for each test; what it can't make, the test fails with.
struct AdapterMaker {
    std::string name;
    std::function<std::unique_ptr<Adapter>()> make;
};

inline void PrintTo(const AdapterMaker& maker, std::ostream* out) { *out << maker.name; }
inline std::string NameOf(const ::testing::TestParamInfo<AdapterMaker>& info) { return info.param.name; }

// One row of the table items.
std::vector<platform::Value> Item(platform::Long id, const platform::Value& name = platform::Null(),
                                  const platform::Value& note = platform::Null(),
                                  const platform::Value& made = platform::Null(),
                                  const platform::Value& ratio = platform::Null());

class DatabaseContract : public ::testing::TestWithParam<AdapterMaker> {
protected:
    void SetUp() override;

    // A connection of its own, open.
    std::unique_ptr<platform::Connection> Connect();
    // The table items (id, name, note, made, ratio), id its key, with these rows.
    void GivenItems(const std::vector<std::vector<platform::Value>>& rows);
    // The recordset of a text that reads items, ordered by id unless the text asks for less.
    std::unique_ptr<platform::Recordset> Open(const std::string& text,
                                              platform::CursorType cursor = platform::CursorType::ForwardOnly,
                                              platform::LockType lock = platform::LockType::ReadOnly);
    void Define(const std::string& text) { adapter->Define(*connection, text); }
    // All rows of the items, by id.
    std::vector<std::vector<platform::Value>> Items();

    std::unique_ptr<Adapter> adapter;
    std::unique_ptr<platform::Connection> connection;
};

class RecordsetContract : public DatabaseContract {};

// What was said of statements that were sent.
struct HeardAnswers : platform::Answers {
    void Executed(std::int32_t affected) override;
    void Updated(std::int32_t affected) override;
    void Inserted(std::int32_t affected) override;
    void Failed(const platform::RuntimeError& error) override;
    void NotSent() override;
    std::vector<std::string> said;  // "updated 0", "inserted 1", "failed", ...
};

class AnswersContract : public DatabaseContract {
protected:
    void Send(const std::string& text) { connection->Send(text, heard); }
    void Upsert(int id, const std::string& name);  // an item
    std::vector<std::string> Names();              // of the items, by id

    HeardAnswers heard;
};

// Adapters that take a text of several statements, and those that refuse it.
class BatchContract : public DatabaseContract {};
class NoBatchContract : public DatabaseContract {};

// Adapters to which the default database's name has no meaning, and those that stay where they are.
class AnyNameContract : public DatabaseContract {};
class OneNameContract : public DatabaseContract {};

// Commit and exclusive sections.
class FrameContract : public DatabaseContract {
protected:
    static std::string Insert(int id);  // of an item
    void Add(int id);                   // the same through a recordset
    // The ids of the items that a connection of its own finds.
    std::vector<int> KeysThatOthersSee();
};

// Exclusive sections of two connections at the same moment.
class LockContract : public FrameContract {};

// Adapters whose units stand or fall together, and those of which each write stands by itself in a unit, too.
class UnitContract : public FrameContract {};
class NoUnitContract : public FrameContract {};

// Adapters that keep each write by itself.
class NoGroupContract : public FrameContract {};

// Adapters that group writes for long, on servers on which a commit may fail by itself.
class LateFailureContract : public FrameContract {};

// Adapters that reach a server.
class ServerContract : public FrameContract {};

}  // namespace iqrx::testing
