// Connections and recordsets around others: every member forwards, so that a wrapper overrides only what it
// is there for.
#pragma once

#include <utility>

#include "platform/database.h"

namespace iqrx::platform {

class RecordsetWrapper : public Recordset {
public:
    explicit RecordsetWrapper(std::unique_ptr<Recordset> recordset) : recordset_(std::move(recordset)) {}

    void Open(const Statement& source, CursorType cursor, LockType lock) override {
        recordset_->Open(source, cursor, lock);
    }
    void Close() override { recordset_->Close(); }
    bool Bof() const override { return recordset_->Bof(); }
    bool Eof() const override { return recordset_->Eof(); }
    std::int32_t RecordCount() override { return recordset_->RecordCount(); }
    void MoveFirst() override { recordset_->MoveFirst(); }
    void MoveNext() override { recordset_->MoveNext(); }
    Value Field(std::string_view name) override { return recordset_->Field(name); }
    Value Field(int position) override { return recordset_->Field(position); }
    std::vector<std::string> FieldNames() override { return recordset_->FieldNames(); }
    void AddNew() override { recordset_->AddNew(); }
    void SetField(int position, const Value& value) override { recordset_->SetField(position, value); }
    void Update() override { recordset_->Update(); }
    void Delete() override { recordset_->Delete(); }

protected:
    Recordset& Wrapped() { return *recordset_; }

private:
    std::unique_ptr<Recordset> recordset_;
};

class ConnectionWrapper : public Connection {
public:
    explicit ConnectionWrapper(std::unique_ptr<Connection> connection) : connection_(std::move(connection)) {}

    void SetConnectionTimeout(int seconds) override { connection_->SetConnectionTimeout(seconds); }
    void SetCommandTimeout(int seconds) override { connection_->SetCommandTimeout(seconds); }
    void Open(const std::string& connectionString) override { connection_->Open(connectionString); }
    void Close() override { connection_->Close(); }
    std::int32_t Execute(const Statement& statement) override { return connection_->Execute(statement); }
    // Send and Upsert go through Execute, so that a wrapper that is there for it misses no statement. Who
    // lets them pass overrides them.
    void AwaitAnswers() override { connection_->AwaitAnswers(); }
    std::string DefaultDatabase() override { return connection_->DefaultDatabase(); }
    void SetDefaultDatabase(const std::string& name) override { connection_->SetDefaultDatabase(name); }
    Errors& LastErrors() override { return connection_->LastErrors(); }
    void Commit() override { connection_->Commit(); }
    void RunAsUnit(const Work& work) override { connection_->RunAsUnit(work); }
    void RunExclusively(const Work& work) override { connection_->RunExclusively(work); }
    std::unique_ptr<Recordset> CreateRecordset() override { return connection_->CreateRecordset(); }

protected:
    Connection& Wrapped() { return *connection_; }

private:
    std::unique_ptr<Connection> connection_;
};

}  // namespace iqrx::platform
