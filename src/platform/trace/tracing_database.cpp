#include "platform/trace/tracing_database.h"

#include <utility>
#include <vector>

#include "platform/database_wrapper.h"
#include "platform/date.h"
#include "platform/error.h"
#include "platform/printable.h"

namespace iqrx::platform::trace {

namespace {

std::string Start(std::string_view op, std::string_view sql) {
    return "{\"op\":\"" + std::string(op) + "\",\"sql\":" + JsonText(sql);
}

void AppendFailure(AppendingFile& trace, const std::string& line, const RuntimeError& failure) {
    try {
        trace.Append(line + ",\"error\":" + JsonText(failure.description) + "}\n");
    } catch (const RuntimeError&) {
        // The statement's own error is the one that its caller needs.
    }
}

// Runs the action; when it fails, appends the line with its error.
template <class Action>
void TraceFailure(AppendingFile& trace, const std::string& line, Action action) {
    try {
        action();
    } catch (...) {
        AppendFailure(trace, line, CurrentError());
        throw;
    }
}

// Runs the action and appends the line, with its error when it fails.
template <class Action>
void Trace(AppendingFile& trace, const std::string& line, Action action) {
    TraceFailure(trace, line, action);
    trace.Append(line + "}\n");
}

class TracingRecordset final : public RecordsetWrapper {
public:
    TracingRecordset(Connection& connection, std::shared_ptr<AppendingFile> trace)
        : RecordsetWrapper(connection.CreateRecordset()), connection_(connection), trace_(std::move(trace)) {}

    // A statement under way that fails is told before the question is asked.
    void Open(const Statement& source, CursorType cursor, LockType lock) override {
        connection_.AwaitAnswers();
        source_ = source.Text();
        Trace(*trace_, Start("open", source_), [&] { Wrapped().Open(source, cursor, lock); });
    }

    // Rows that the adapter sends in batches may fail here.
    void Close() override {
        TraceFailure(*trace_, Start("addnew", source_), [&] { Wrapped().Close(); });
    }

    void AddNew() override {
        values_.clear();
        TraceFailure(*trace_, Start("addnew", source_), [&] { Wrapped().AddNew(); });
    }

    void SetField(int position, const Value& value) override {
        TraceFailure(*trace_, Start("addnew", source_), [&] { Wrapped().SetField(position, value); });
        const auto place = static_cast<std::size_t>(position);
        if (values_.size() <= place) values_.resize(place + 1, Null());
        values_[place] = value;
    }

    void Update() override {
        Trace(*trace_, Start("addnew", source_) + ValuesText(), [&] { Wrapped().Update(); });
    }

    void Delete() override {
        Trace(*trace_, Start("delete", source_), [&] { Wrapped().Delete(); });
    }

private:
    std::string ValuesText() const {
        std::string text = ",\"values\":[";
        for (const Value& value : values_) {
            if (text.back() != '[') text += ',';
            text += JsonValue(value, IsoDateTime);
        }
        return text + "]";
    }

    Connection& connection_;
    std::shared_ptr<AppendingFile> trace_;
    std::string source_;
    std::vector<Value> values_;
};

// The lines of statements whose counts are not known yet.
struct StatementLines {
    std::string statement;
    std::string insert = {};  // of an update that may find no row
};

class TracedAnswers final : public AnswersInTurn<StatementLines> {
public:
    explicit TracedAnswers(std::shared_ptr<AppendingFile> trace) : trace_(std::move(trace)) {}

private:
    void Append(const std::string& line, std::int32_t affected) {
        trace_->Append(line + ",\"affected\":" + std::to_string(affected) + "}\n");
    }
    void HearExecuted(StatementLines& lines, std::int32_t affected) override {
        Append(lines.statement, affected);
    }
    void HearUpdated(StatementLines& lines, std::int32_t affected) override {
        Append(std::exchange(lines.statement, ""), affected);
    }
    void HearInserted(StatementLines& lines, std::int32_t affected) override {
        Append(lines.insert, affected);
    }
    void HearFailed(StatementLines& lines, const RuntimeError& error) override {
        AppendFailure(*trace_, lines.statement.empty() ? lines.insert : lines.statement, error);
    }

    std::shared_ptr<AppendingFile> trace_;
};

class TracingConnection final : public ConnectionWrapper {
public:
    TracingConnection(std::unique_ptr<Connection> connection, std::shared_ptr<AppendingFile> trace)
        : ConnectionWrapper(std::move(connection)), trace_(std::move(trace)), answers_(trace_) {}

    std::int32_t Execute(const Statement& statement) override {
        AwaitAnswers();
        std::int32_t affected = 0;
        const std::string line = Start("execute", statement.Text());
        TraceFailure(*trace_, line, [&] { affected = Wrapped().Execute(statement); });
        trace_->Append(line + ",\"affected\":" + std::to_string(affected) + "}\n");
        return affected;
    }

    void Send(const Statement& statement, Answers& answers) override {
        Wrapped().Send(statement, answers_.Await(answers, {Start("execute", statement.Text())}));
    }
    void Upsert(const Statement& update, const MakeStatement& insert, Answers& answers) override {
        const auto traced = [&] {
            Statement made = insert();
            answers_.Last().insert = Start("execute", made.Text());
            return made;
        };
        Wrapped().Upsert(update, traced, answers_.Await(answers, {Start("execute", update.Text())}));
    }
    std::unique_ptr<Recordset> CreateRecordset() override {
        return std::make_unique<TracingRecordset>(Wrapped(), trace_);
    }

private:
    std::shared_ptr<AppendingFile> trace_;
    TracedAnswers answers_;
};

std::shared_ptr<AppendingFile> Opened(TextFiles& files, const std::filesystem::path& file) {
    try {
        return files.OpenForAppending(file);
    } catch (const RuntimeError& error) {
        throw RuntimeError(error.number, error.source,
                           "the statement trace cannot be written: " + error.description);
    }
}

}  // namespace

TracingDatabaseProvider::TracingDatabaseProvider(DatabaseProvider& provider, TextFiles& files,
                                                 const std::filesystem::path& file)
    : provider_(provider), trace_(Opened(files, file)) {}

std::unique_ptr<Connection> TracingDatabaseProvider::CreateConnection(std::string_view connectionString) {
    return std::make_unique<TracingConnection>(provider_.CreateConnection(connectionString), trace_);
}

}  // namespace iqrx::platform::trace
