#include "support/recording_database.h"

#include <utility>

#include "platform/connection_string.h"
#include "platform/conversions.h"
#include "platform/date.h"

namespace iqrx::testing {

using namespace iqrx::platform;

namespace {

std::string JsonText(std::string_view text) {
    constexpr char kHex[] = "0123456789abcdef";
    std::string json = "\"";
    for (char c : text) {
        if (c == '"' || c == '\\')
            json += {'\\', c};
        else if (c == '\n')
            json += "\\n";
        else if (c == '\r')
            json += "\\r";
        else if (c == '\t')
            json += "\\t";
        else if (static_cast<unsigned char>(c) < 0x20)
            json += {'\\', 'u', '0', '0', kHex[c >> 4], kHex[c & 15]};
        else
            json += c;
    }
    return json + "\"";
}

std::string JsonValue(const Value& value) {
    if (value.Is<Empty>() || value.Is<Null>()) return "null";
    if (value.Is<Date>()) return JsonText(IsoDateTime(value.As<Date>()));
    if (value.Is<Boolean>()) return value.As<Boolean>() ? "true" : "false";
    const std::string text = ToText(value);
    return value.Is<std::string>() ? JsonText(text) : text;
}

std::string JsonArray(const std::vector<Value>& values) {
    std::string json = "[";
    for (const Value& value : values) json += (&value == values.data() ? "" : ",") + JsonValue(value);
    return json + "]";
}

std::string Head(std::string_view op, std::string_view sql) {
    return R"({"op":")" + std::string(op) + R"(","sql":)" + JsonText(sql);
}

std::string Failed(std::string_view op, std::string_view sql, const RuntimeError& error) {
    return Head(op, sql) + R"(,"error":)" + JsonText(error.description) + "}";
}

struct ConnectionLost : RuntimeError {
    ConnectionLost() : RuntimeError(kDatabaseError, "db", "the connection was lost") {}
};

// The entry of a failure; the state of one that means nothing in particular is left empty.
ErrorEntry EntryOf(const RuntimeError& error) {
    const bool lost = dynamic_cast<const ConnectionLost*>(&error) != nullptr;
    return {error.number, error.source, error.description, lost ? "08S01" : ""};
}

RuntimeError Misuse(const std::string& what) { return {kInvalidProcedureCall, "RecordingDatabase", what}; }

class RecordingRecordset : public Recordset {
public:
    RecordingRecordset(RecordingDatabase& database, Errors& errors) : database_(database), errors_(errors) {}
    ~RecordingRecordset() override {
        if (rows_) RecordingRecordset::Close();
    }

    void Open(const Statement& source, CursorType cursor, LockType lock) override {
        if (rows_) throw Misuse("Open of an open recordset");
        source_ = source.Text();
        database_.calls.push_back("Open " + source_ + " " + std::to_string(static_cast<int>(cursor)) + " " +
                                  std::to_string(static_cast<int>(lock)));
        lock_ = lock;
        Do("open", [&] {
            rows_ = database_.Opened(source_);
            database_.statements.push_back(TraceOfOpen(source_));
        });
        row_ = 0;
        deleted_ = false;
        ++database_.openRecordsets;
    }

    void Close() override {
        Opened();
        database_.calls.push_back("Close");
        --database_.openRecordsets;
        rows_.reset();
        added_.reset();
    }

    bool Bof() const override { return Opened().rows.empty(); }
    bool Eof() const override { return !deleted_ && row_ >= Opened().rows.size(); }
    std::int32_t RecordCount() override { return static_cast<std::int32_t>(Opened().rows.size()); }

    void MoveFirst() override {
        database_.calls.push_back("MoveFirst");
        if (Opened().rows.empty()) Do("open", [] { throw Misuse("MoveFirst in an empty recordset"); });
        row_ = 0;
        deleted_ = false;
    }
    void MoveNext() override {
        if (std::exchange(deleted_, false)) return;  // the next row has taken the deleted one's place
        Current();
        ++row_;
    }

    Value Field(std::string_view name) override {
        const auto& columns = Opened().columns;
        for (std::size_t i = 0; i < columns.size(); ++i)
            if (EqualIgnoringCase(columns[i], name)) return Field(static_cast<int>(i));
        throw Misuse("no field \"" + std::string(name) + "\" in " + source_);
    }
    Value Field(int position) override {
        auto& row = Current();
        if (position < 0 || static_cast<std::size_t>(position) >= row.size())
            throw Misuse("no field " + std::to_string(position) + " in " + source_);
        return row[static_cast<std::size_t>(position)];
    }

    std::vector<std::string> FieldNames() override { return Opened().columns; }

    void AddNew() override {
        database_.calls.push_back("AddNew");
        if (lock_ == LockType::ReadOnly) throw Misuse("AddNew in a recordset that is read only");
        added_.emplace(Opened().columns.size(), Value(Null()));
    }
    void SetField(int position, const Value& value) override {
        if (!added_) throw Misuse("SetField without AddNew");
        const auto index = static_cast<std::size_t>(position);
        if (index >= added_->size()) {
            if (!rows_->columns.empty()) throw Misuse("no field " + std::to_string(position));
            added_->resize(index + 1, Value(Null()));
        }
        (*added_)[index] = value;
    }
    void Update() override {
        if (!added_) throw Misuse("Update without AddNew");
        database_.calls.push_back("Update " + JsonArray(*added_));
        database_.statements.push_back(TraceOfAddNew(source_, *added_));
        rows_->rows.push_back(std::move(*added_));
        added_.reset();
    }

    void Delete() override {
        database_.calls.push_back("Delete");
        if (lock_ == LockType::ReadOnly) throw Misuse("Delete in a recordset that is read only");
        Current();
        database_.statements.push_back(TraceOfDelete(source_));
        rows_->rows.erase(rows_->rows.begin() + static_cast<std::ptrdiff_t>(row_));
        deleted_ = true;
    }

private:
    Rows& Opened() const {
        if (!rows_) throw Misuse("a recordset that is not open");
        return *rows_;
    }
    std::vector<Value>& Current() {
        if (deleted_ || row_ >= Opened().rows.size()) throw Misuse("no current row in " + source_);
        return rows_->rows[row_];
    }

    template <class Action>
    void Do(std::string_view op, Action action) {
        try {
            action();
        } catch (const RuntimeError& error) {
            errors_ = {{error.number, error.source, error.description, ""}};
            database_.statements.push_back(Failed(op, source_, error));
            throw;
        }
    }

    RecordingDatabase& database_;
    Errors& errors_;
    SharedRows rows_;
    std::optional<std::vector<Value>> added_;
    std::string source_;
    LockType lock_ = LockType::ReadOnly;
    std::size_t row_ = 0;
    bool deleted_ = false;
};

class RecordingConnection : public Connection {
public:
    explicit RecordingConnection(RecordingDatabase& database)
        : database_(database), defaultDatabase_(database.defaultDatabase) {}
    ~RecordingConnection() override {
        if (open_) RecordingConnection::Close();
    }

    void SetConnectionTimeout(int seconds) override {
        database_.calls.push_back("ConnectionTimeout " + std::to_string(seconds));
    }
    void SetCommandTimeout(int seconds) override {
        database_.calls.push_back("CommandTimeout " + std::to_string(seconds));
    }

    void Open(const std::string& connectionString) override {
        database_.calls.push_back("OpenConnection " + connectionString);
        if (const auto& error = database_.ConnectError()) {
            errors_ = {{error->number, error->source, error->description, ""}};
            throw *error;
        }
        if (open_) throw Misuse("Open of an open connection");
        open_ = true;
        ++database_.openConnections;
    }
    void Close() override {
        database_.calls.push_back("CloseConnection");
        if (open_) --database_.openConnections;
        open_ = false;
    }

    std::int32_t Execute(const Statement& statement) override {
        const std::string_view sql = statement.Text();
        if (!open_) throw Misuse("Execute on a connection that is not open");
        database_.calls.push_back("Execute " + std::string(sql));
        database_.executed.emplace_back(sql);
        try {
            const auto affected = database_.Answer(sql);
            database_.statements.push_back(TraceOfExecute(sql, affected));
            return affected;
        } catch (const RuntimeError& error) {
            errors_ = {EntryOf(error)};
            database_.statements.push_back(Failed("execute", sql, error));
            throw;
        }
    }

    std::string DefaultDatabase() override { return defaultDatabase_; }
    void SetDefaultDatabase(const std::string& name) override {
        database_.calls.push_back("DefaultDatabase " + name);
        defaultDatabase_ = name;
    }
    Errors& LastErrors() override { return errors_; }
    void Commit() override { database_.Committed(); }
    void RunAsUnit(const Work& work) override { InFrame("unit", work); }
    void RunExclusively(const Work& work) override { InFrame("exclusive section", work); }
    std::unique_ptr<Recordset> CreateRecordset() override {
        return std::make_unique<RecordingRecordset>(database_, errors_);
    }

private:
    void InFrame(const std::string& frame, const Work& work) {
        database_.calls.push_back("Begin " + frame);
        try {
            work();
        } catch (...) {
            database_.calls.push_back("Abandon " + frame);
            throw;
        }
        database_.calls.push_back("End " + frame);
    }

    RecordingDatabase& database_;
    std::string defaultDatabase_;
    Errors errors_;
    bool open_ = false;
};

std::int32_t AnswerOf(const ExecuteAnswer& answer) {
    if (const auto* error = std::get_if<RuntimeError>(&answer)) throw *error;
    if (const auto* affected = std::get_if<std::int32_t>(&answer)) return *affected;
    return std::get<std::function<std::int32_t()>>(answer)();
}

}  // namespace

std::unique_ptr<Connection> RecordingDatabase::CreateConnection(std::string_view connectionString) {
    calls.push_back("CreateConnection " + std::string(connectionString));
    return std::make_unique<RecordingConnection>(*this);
}

void RecordingDatabase::WhenOpened(const std::string& text, Rows rows) {
    WhenOpened(text, OpenAnswer(std::make_shared<Rows>(std::move(rows))));
}
void RecordingDatabase::WhenOpened(const std::string& text, OpenAnswer answer) {
    openAnswers_.insert_or_assign(text, std::move(answer));
}
void RecordingDatabase::WhenExecuted(const std::string& text, ExecuteAnswer answer) {
    executeAnswers_.insert_or_assign(text, std::move(answer));
}
void RecordingDatabase::WhenExecutedBeginning(const std::string& beginning, ExecuteAnswer answer) {
    beginningAnswers_.insert_or_assign(beginning, std::move(answer));
}
void RecordingDatabase::WhenConnected(RuntimeError error) { connectError_ = std::move(error); }
void RecordingDatabase::FailStatement(int n, RuntimeError error) {
    statementsUntilError_ = n;
    statementError_ = std::move(error);
}

void RecordingDatabase::LoseConnection() { throw ConnectionLost(); }

void RecordingDatabase::Committed() {
    calls.push_back("Commit");
    if (commitError_) throw WritesLost(*std::exchange(commitError_, std::nullopt));
}

void RecordingDatabase::CountStatement() {
    if (!statementError_ || --statementsUntilError_ > 0) return;
    const RuntimeError error = *statementError_;
    statementError_.reset();
    throw error;
}

std::int32_t RecordingDatabase::Answer(std::string_view text) {
    CountStatement();
    if (const auto found = executeAnswers_.find(text); found != executeAnswers_.end())
        return AnswerOf(found->second);
    const ExecuteAnswer* longest = nullptr;
    for (const auto& [beginning, answer] : beginningAnswers_)
        if (text.starts_with(beginning)) longest = &answer;  // in order, so longer beginnings come later
    return longest ? AnswerOf(*longest) : defaultAffected;
}

SharedRows RecordingDatabase::Opened(std::string_view text) {
    CountStatement();
    const auto found = openAnswers_.find(text);
    if (found == openAnswers_.end()) return std::make_shared<Rows>();
    if (const auto* error = std::get_if<RuntimeError>(&found->second)) throw *error;
    return std::get<SharedRows>(found->second);
}

std::string TraceOfExecute(std::string_view sql, std::int32_t affected) {
    return Head("execute", sql) + R"(,"affected":)" + std::to_string(affected) + "}";
}
std::string TraceOfOpen(std::string_view sql) { return Head("open", sql) + "}"; }
std::string TraceOfDelete(std::string_view sql) { return Head("delete", sql) + "}"; }
std::string TraceOfAddNew(std::string_view sql, const std::vector<Value>& values) {
    return Head("addnew", sql) + R"(,"values":)" + JsonArray(values) + "}";
}

}  // namespace iqrx::testing
