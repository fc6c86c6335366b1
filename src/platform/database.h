// The database as the copy sees it: a connection that executes statements and recordsets opened on
// statements. The members mirror ADO's. One thread uses a connection and its recordsets.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "platform/error.h"
#include "platform/statement.h"
#include "platform/value.h"

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

// How connections and recordsets refuse calls that their state does not allow: the numbers that ADO has
// for them.
enum RecordsetError : std::int32_t {
    kNoCurrentRecord = -2146825267,
    kItemNotFound = -2146825023,
    kObjectClosed = -2146824584,
    kObjectOpen = -2146824583,
    kNotUpdatable = -2146825037,
};

// Writes that were reported done are not in the database. Every call on the connection raises it from then
// on, so that nothing is built on what is missing, until Commit has raised it.
struct WritesLost : RuntimeError {
    using RuntimeError::RuntimeError;
};

// Whether one of the entries says that there is no connection to the server any more.
bool SpeakOfLostConnection(const Errors& errors);

enum class CursorType : int { ForwardOnly = 0, Keyset = 1, Dynamic = 2, Static = 3 };
enum class LockType : int { ReadOnly = 1, Pessimistic = 2, Optimistic = 3 };

class Recordset {
public:
    virtual ~Recordset() = default;  // closes

    // Every member raises RuntimeError on failure, after the connection's Errors were filled.
    virtual void Open(const Statement& source, CursorType cursor, LockType lock) = 0;
    virtual void Close() = 0;

    virtual bool Bof() const = 0;
    virtual bool Eof() const = 0;
    virtual std::int32_t RecordCount() = 0;
    virtual void MoveFirst() = 0;
    virtual void MoveNext() = 0;

    // Fields of the current row by name (not case-sensitive) or by position from 0, with the type of the
    // column.
    virtual Value Field(std::string_view name) = 0;
    virtual Value Field(int position) = 0;
    virtual std::vector<std::string> FieldNames() = 0;  // by position, also where there is no row

    // A new row: AddNew, its fields by position, Update. The row is in the table when Update returns or,
    // where the adapter sends rows in batches, when Close does.
    virtual void AddNew() = 0;
    virtual void SetField(int position, const Value& value) = 0;
    virtual void Update() = 0;

    virtual void Delete() = 0;  // the current row
};

class Connection {
public:
    virtual ~Connection() = default;  // closes

    // Every member but Close raises RuntimeError on failure, after Errors was filled.
    virtual void SetConnectionTimeout(int seconds) = 0;  // 0: no limit
    virtual void SetCommandTimeout(int seconds) = 0;     // 0: no limit
    virtual void Open(const std::string& connectionString) = 0;
    virtual void Close() = 0;

    // Runs the statement and returns the number of rows that it affected.
    virtual std::int32_t Execute(const Statement& statement) = 0;

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

    // Runs the work while no other connection to the database runs an exclusive section; its statements stand
    // or fall together and are kept when this returns. Where the server picks this section as the victim of
    // another, the work is run again, so that it must not mind being started anew. Raises what the work
    // raised, and then nothing of it has happened.
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
