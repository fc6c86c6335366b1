// The database as the copy sees it: a connection that executes statements, and the recordsets that it opens.
// The members mirror ADO's. One thread uses a connection and its recordsets.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "platform/answers.h"
#include "platform/error.h"
#include "platform/recordset.h"
#include "platform/statement.h"

namespace iqrx::platform {

struct ErrorEntry {
    std::int32_t number = 0;
    std::string source;
    std::string description;
    std::string sqlState;
};

// What the provider had to say about its last failure; stays until cleared or until the next failure.
using Errors = std::vector<ErrorEntry>;

// Tables through which processes coordinate: a statement on one of them is kept, with everything before it,
// when it is reported done. Names in lower case, without a schema.
using TableNames = std::set<std::string, std::less<>>;

// Writes that were reported done are not in the database. Every call on the connection raises it from then
// on, so that nothing is built on what is missing, until Commit has raised it.
struct WritesLost : RuntimeError {
    using RuntimeError::RuntimeError;
};

// Whether one of the entries says that there is no connection to the server any more.
bool SpeakOfLostConnection(const Errors& errors);

class Connection {
public:
    virtual ~Connection() = default;  // closes

    // Every member but Close raises RuntimeError on failure, after Errors was filled.
    virtual void SetConnectionTimeout(int seconds) = 0;  // 0: no limit
    virtual void SetCommandTimeout(int seconds) = 0;     // 0: no limit
    virtual void Open(const std::string& connectionString) = 0;
    virtual void Close() = 0;

    // Returns the number of rows affected. What gathers statistics may go on behind it, and fail unheard.
    virtual std::int32_t Execute(const Statement& statement) = 0;

    // As Execute, for who does not wait for the count: an adapter may hand over many statements in one trip.
    // They reach the database in the order of the calls; every other member first waits for all answers. An
    // error is raised once, by the call that meets it, after the answers of the statements before the one
    // that failed; of those after it none has happened. `answers` must live until it was told.
    virtual void Send(const Statement& statement, Answers& answers);
    using MakeStatement = std::function<Statement()>;
    // The update, and where it affects no row the insert, in the same way. The insert is made when it is
    // needed, or at once by an adapter that does not wait for the update's answer.
    virtual void Upsert(const Statement& update, const MakeStatement& insert, Answers& answers);
    virtual void AwaitAnswers() {}

    virtual std::string DefaultDatabase() = 0;
    virtual void SetDefaultDatabase(const std::string& name) = 0;

    virtual Errors& LastErrors() = 0;

    // An adapter may group writes, which are then reported done before they are in the database. Commit ends
    // the group: when it returns, everything reported done so far is kept. Raises WritesLost when it is not.
    virtual void Commit() = 0;

    using Work = std::function<void()>;

    // Runs the work as one unit: where the adapter groups writes, its statements stand or fall together;
    // elsewhere each stands by itself. Raises what the work raised. A unit does not hold another.
    virtual void RunAsUnit(const Work& work) = 0;

    // Runs the work, whose statements stand or fall together and are kept when this returns. From the first
    // of them on, at the latest, no other connection to the database is in such a section. Where the server
    // picks this section as the victim of another, the work is run again, so that it must not mind being
    // started anew. Raises what the work raised, and then nothing of it has happened.
    virtual void RunExclusively(const Work& work) = 0;

    // A recordset whose active connection is this one; it must not outlive it.
    virtual std::unique_ptr<Recordset> CreateRecordset() = 0;
};

// Creates the connection class that a connection string asks for; the connection is not open yet.
class DatabaseProvider {
public:
    virtual ~DatabaseProvider() = default;
    virtual std::unique_ptr<Connection> CreateConnection(std::string_view connectionString) = 0;
};

}  // namespace iqrx::platform
