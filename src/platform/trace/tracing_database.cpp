#include "platform/trace/tracing_database.h"

#include <utility>
#include <vector>

#include "platform/date.h"
#include "platform/error.h"
#include "platform/json_text.h"

namespace iqrx::platform::trace {

namespace {

std::string Start(std::string_view op, std::string_view sql) {
    return "{\"op\":\"" + std::string(op) + "\",\"sql\":" + JsonText(sql);
}

// Runs the action; when it fails, appends the line with its error.
template <class Action>
void TraceFailure(TraceFile& trace, const std::string& line, Action action) {
    try {
        action();
    } catch (...) {
        trace.Append(line + ",\"error\":" + JsonText(CurrentError().description) + "}");
        throw;
    }
}

// Runs the action and appends the line, with its error when it fails.
template <class Action>
void Trace(TraceFile& trace, const std::string& line, Action action) {
    TraceFailure(trace, line, action);
    trace.Append(line + "}");
}

class TracingRecordset final : public Recordset {
public:
    TracingRecordset(std::unique_ptr<Recordset> recordset, std::shared_ptr<TraceFile> trace)
        : recordset_(std::move(recordset)), trace_(std::move(trace)) {}

    void Open(std::string_view source, CursorType cursor, LockType lock) override {
        source_ = source;
        Trace(*trace_, Start("open", source_), [&] { recordset_->Open(source, cursor, lock); });
    }

    // Rows that the adapter sends in batches may fail here.
    void Close() override {
        TraceFailure(*trace_, Start("addnew", source_), [&] { recordset_->Close(); });
    }

    bool Bof() const override { return recordset_->Bof(); }
    bool Eof() const override { return recordset_->Eof(); }
    std::int32_t RecordCount() override { return recordset_->RecordCount(); }
    void MoveFirst() override { recordset_->MoveFirst(); }
    void MoveNext() override { recordset_->MoveNext(); }
    Value Field(std::string_view name) override { return recordset_->Field(name); }
    Value Field(int position) override { return recordset_->Field(position); }

    void AddNew() override {
        values_.clear();
        TraceFailure(*trace_, Start("addnew", source_), [&] { recordset_->AddNew(); });
    }

    void SetField(int position, const Value& value) override {
        TraceFailure(*trace_, Start("addnew", source_), [&] { recordset_->SetField(position, value); });
        const auto place = static_cast<std::size_t>(position);
        if (values_.size() <= place) values_.resize(place + 1, Null());
        values_[place] = value;
    }

    void Update() override {
        Trace(*trace_, Start("addnew", source_) + ValuesText(), [&] { recordset_->Update(); });
    }

    void Delete() override {
        Trace(*trace_, Start("delete", source_), [&] { recordset_->Delete(); });
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

    std::unique_ptr<Recordset> recordset_;
    std::shared_ptr<TraceFile> trace_;
    std::string source_;
    std::vector<Value> values_;
};

class TracingConnection final : public Connection {
public:
    TracingConnection(std::unique_ptr<Connection> connection, std::shared_ptr<TraceFile> trace)
        : connection_(std::move(connection)), trace_(std::move(trace)) {}

    void SetConnectionTimeout(int seconds) override { connection_->SetConnectionTimeout(seconds); }
    void SetCommandTimeout(int seconds) override { connection_->SetCommandTimeout(seconds); }
    void Open(const std::string& connectionString) override { connection_->Open(connectionString); }
    void Close() override { connection_->Close(); }
    std::string DefaultDatabase() override { return connection_->DefaultDatabase(); }
    void SetDefaultDatabase(const std::string& name) override { connection_->SetDefaultDatabase(name); }
    Errors& LastErrors() override { return connection_->LastErrors(); }

    std::int32_t Execute(std::string_view sql) override {
        std::int32_t affected = 0;
        const std::string line = Start("execute", sql);
        TraceFailure(*trace_, line, [&] { affected = connection_->Execute(sql); });
        trace_->Append(line + ",\"affected\":" + std::to_string(affected) + "}");
        return affected;
    }

    std::unique_ptr<Recordset> CreateRecordset() override {
        return std::make_unique<TracingRecordset>(connection_->CreateRecordset(), trace_);
    }

private:
    std::unique_ptr<Connection> connection_;
    std::shared_ptr<TraceFile> trace_;
};

}  // namespace

std::unique_ptr<Connection> Traced(std::unique_ptr<Connection> connection, std::shared_ptr<TraceFile> trace) {
    return std::make_unique<TracingConnection>(std::move(connection), std::move(trace));
}

TracingDatabaseProvider::TracingDatabaseProvider(DatabaseProvider& provider, const std::filesystem::path& file)
    : provider_(provider), trace_(std::make_shared<TraceFile>(file)) {}

std::unique_ptr<Connection> TracingDatabaseProvider::CreateConnection(std::string_view connectionString) {
    return Traced(provider_.CreateConnection(connectionString), trace_);
}

}  // namespace iqrx::platform::trace
