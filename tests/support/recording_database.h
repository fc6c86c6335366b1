// A database that exists in the test alone: it records every call and text and answers what it was told.
//
//     RecordingDatabase database;
//     database.WhenOpened("SELECT * FROM t", {{"id", "name"}, {{Long{1}, "one"}}});
//     database.WhenExecuted("UPDATE t SET id = 2", 1);
//
// A text that nothing was told about affects `defaultAffected` rows, or opens an empty recordset. The text
// told last wins. All connections of one RecordingDatabase share its answers and its record; it must outlive
// them.
#pragma once

#include <functional>
#include <initializer_list>
#include <map>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "platform/database.h"
#include "platform/error.h"

namespace iqrx::testing {

struct Rows {
    std::vector<std::string> columns;
    std::vector<std::vector<platform::Value>> rows;
};
// Rows that several texts read and change: what AddNew adds through one of them, the others find.
using SharedRows = std::shared_ptr<Rows>;

// What an execution answers: the rows affected, an error, or whatever a function does and returns.
using ExecuteAnswer = std::variant<std::int32_t, platform::RuntimeError, std::function<std::int32_t()>>;
using OpenAnswer = std::variant<SharedRows, platform::RuntimeError>;

class RecordingDatabase : public platform::DatabaseProvider {
public:
    std::unique_ptr<platform::Connection> CreateConnection(std::string_view connectionString) override;

    // AddNew and Delete change the rows told, so that opening the text again shows the change.
    void WhenOpened(const std::string& text, Rows rows);
    void WhenOpened(const std::string& text, OpenAnswer answer);
    void WhenExecuted(const std::string& text, ExecuteAnswer answer);
    // The same for every text that begins so and that nothing else was told about; the longest beginning
    // wins.
    void WhenExecutedBeginning(const std::string& beginning, ExecuteAnswer answer);
    void WhenConnected(platform::RuntimeError error);  // every Open of a connection fails so
    // The n-th statement from now, counted from 1 over executions and openings, fails.
    void FailStatement(int n, platform::RuntimeError error);

    // For the answer to a text: fails as a connection does whose server is gone.
    [[noreturn]] void LoseConnection();
    // The next Commit raises this.
    void FailCommit(platform::WritesLost error) { commitError_ = std::move(error); }

    // Every call in order: "CreateConnection TEXT", "ConnectionTimeout 0", "CommandTimeout 0",
    // "OpenConnection TEXT", "DefaultDatabase NAME", "CloseConnection", "Execute TEXT", "Open TEXT CURSOR
    // LOCK", "MoveFirst", "AddNew", "Update VALUES" of the new row, "Delete", "Close", "Commit", and "Begin
    // FRAME", "End FRAME" or "Abandon FRAME" of a unit or an exclusive section.
    std::vector<std::string> calls;
    // The statements in the form of the statement trace, one JSON object each.
    std::vector<std::string> statements;
    // The texts of the executions alone.
    std::vector<std::string> executed;

    std::int32_t defaultAffected = 0;
    std::string defaultDatabase = "master";  // of a connection on which none was set
    int openConnections = 0;
    int openRecordsets = 0;

    // For the connections and recordsets of this database.
    std::int32_t Answer(std::string_view text);
    SharedRows Opened(std::string_view text);
    void Committed();
    const std::optional<platform::RuntimeError>& ConnectError() const { return connectError_; }

private:
    void CountStatement();

    std::optional<platform::WritesLost> commitError_;

    std::map<std::string, OpenAnswer, std::less<>> openAnswers_;
    std::map<std::string, ExecuteAnswer, std::less<>> executeAnswers_;
    std::map<std::string, ExecuteAnswer, std::less<>> beginningAnswers_;
    std::optional<platform::RuntimeError> connectError_;
    std::optional<platform::RuntimeError> statementError_;
    int statementsUntilError_ = 0;
};

// Lines of the statement trace.
std::string TraceOfExecute(std::string_view sql, std::int32_t affected);
std::string TraceOfOpen(std::string_view sql);
std::string TraceOfAddNew(std::string_view sql, const std::vector<platform::Value>& values);
std::string TraceOfDelete(std::string_view sql);

}  // namespace iqrx::testing
