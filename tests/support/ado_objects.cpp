#include "support/ado_objects.h"

#include <future>
#include <optional>
#include <utility>

#include "platform/conversions.h"
#include "platform/error.h"

namespace iqrx::testing {

using namespace platform;

namespace {

// A transaction on a connection that knows sections only: the section waits in a thread of its own until it
// is told how to end. The connection's calls come from one thread at a time all the same.
class Transaction {
public:
    explicit Transaction(Connection& connection) {
        section_ = std::async(std::launch::async, [this, &connection] { Run(connection); });
        begun_.get_future().get();
    }
    ~Transaction() {
        if (section_.valid()) End(false);
    }
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;

    void End(bool keep) {
        end_.set_value(keep);
        section_.get();
    }

private:
    struct RolledBack {};

    void Run(Connection& connection) {
        bool hasBegun = false;
        try {
            connection.RunExclusively([&] {
                hasBegun = true;
                begun_.set_value();
                if (!end_.get_future().get()) throw RolledBack();
            });
        } catch (const RolledBack&) {
        } catch (...) {
            if (hasBegun) throw;
            begun_.set_exception(std::current_exception());
        }
    }

    std::promise<void> begun_;
    std::promise<bool> end_;
    std::future<void> section_;
};

class ErrorObject : public Object {
public:
    explicit ErrorObject(ErrorEntry entry) : entry_(std::move(entry)) {}
    Value Invoke(std::string_view member, std::span<Argument>) override {
        if (member == "Number") return entry_.number;
        if (member == "Source") return entry_.source;
        if (member == "Description") return entry_.description;
        if (member == "SQLState") return entry_.sqlState;
        RaiseRuntimeError(kNoSuchMember, std::string(member));
    }

private:
    ErrorEntry entry_;
};

class ErrorsObject : public Object {
public:
    explicit ErrorsObject(std::shared_ptr<Connection> connection) : connection_(std::move(connection)) {}
    Value Invoke(std::string_view member, std::span<Argument> arguments) override {
        Errors& entries = connection_->LastErrors();
        if (member == "Count") return static_cast<Long>(entries.size());
        if (member == "Clear") return entries.clear(), Value();
        if (member != "Item") RaiseRuntimeError(kNoSuchMember, std::string(member));
        const auto place = static_cast<std::size_t>(ToLong(arguments[0].value));
        return ObjectRef(std::make_shared<ErrorObject>(entries.at(place)));
    }

private:
    std::shared_ptr<Connection> connection_;
};

class ConnectionObject : public Object {
public:
    explicit ConnectionObject(std::shared_ptr<Connection> wrapped) : connection(std::move(wrapped)) {}

    Value Invoke(std::string_view member, std::span<Argument> arguments) override {
        if (member == "Errors") return ObjectRef(std::make_shared<ErrorsObject>(connection));
        if (member == "DefaultDatabase") return connection->DefaultDatabase();
        if (member == "IsolationLevel") return isolationLevel_;
        if (member == "Execute") return Execute(arguments);
        if (member == "Open") return connection->Open(connectionString_), Value();
        if (member == "Close") return transaction_.reset(), connection->Close(), Value();
        if (member == "BeginTrans") return transaction_.emplace(*connection), Long{1};
        if (member == "CommitTrans") return End(true), Value();
        if (member == "RollbackTrans") return End(false), Value();
        RaiseRuntimeError(kNoSuchMember, std::string(member));
    }
    void Set(std::string_view member, const Value& value) override {
        if (member == "ConnectionString")
            connectionString_ = ToText(value);
        else if (member == "ConnectionTimeout")
            connection->SetConnectionTimeout(ToLong(value));
        else if (member == "CommandTimeout")
            connection->SetCommandTimeout(ToLong(value));
        else if (member == "DefaultDatabase")
            connection->SetDefaultDatabase(ToText(value));
        else if (member == "IsolationLevel")
            isolationLevel_ = ToLong(value);
        else
            RaiseRuntimeError(kNoSuchMember, std::string(member));
    }

    void Keep() {
        if (!transaction_) connection->Commit();
    }

    const std::shared_ptr<Connection> connection;

private:
    Value Execute(std::span<Argument> arguments) {
        arguments[1].value = connection->Execute(ToText(arguments[0].value));
        Keep();
        return ObjectRef();
    }
    void End(bool keep) {
        if (!transaction_) throw RuntimeError(-2147168242, "ADO objects", "no transaction is active");
        transaction_->End(keep);
        transaction_.reset();
    }

    std::string connectionString_;
    Long isolationLevel_ = 4096;  // what is committed is read
    std::optional<Transaction> transaction_;
};

class FieldObject : public Object {
public:
    FieldObject(std::shared_ptr<Recordset> rows, Value which)
        : rows_(std::move(rows)), which_(std::move(which)) {}
    Value Invoke(std::string_view member, std::span<Argument>) override {
        if (member == "Name") return rows_->FieldNames().at(static_cast<std::size_t>(ToLong(which_)));
        return which_.Is<std::string>() ? rows_->Field(which_.As<std::string>()) : rows_->Field(ToLong(which_));
    }
    void Set(std::string_view, const Value& value) override { rows_->SetField(ToLong(which_), value); }

private:
    std::shared_ptr<Recordset> rows_;
    Value which_;
};

class FieldsObject : public Object {
public:
    explicit FieldsObject(std::shared_ptr<Recordset> rows) : rows_(std::move(rows)) {}
    Value Invoke(std::string_view member, std::span<Argument> arguments) override {
        if (member == "Count") return static_cast<Long>(rows_->FieldNames().size());
        return ObjectRef(std::make_shared<FieldObject>(rows_, arguments[0].value));
    }

private:
    std::shared_ptr<Recordset> rows_;
};

class RecordsetObject : public Object {
public:
    Value Invoke(std::string_view member, std::span<Argument> arguments) override {
        if (member == "Open") return Open(arguments), Value();
        if (!rows_) RaiseRuntimeError(kObjectNotSet);
        if (member == "Fields") return ObjectRef(std::make_shared<FieldsObject>(rows_));
        if (member == "BOF") return rows_->Bof();
        if (member == "EOF") return rows_->Eof();
        if (member == "RecordCount") return rows_->RecordCount();
        if (member == "MoveFirst") return rows_->MoveFirst(), Value();
        if (member == "MoveNext") return rows_->MoveNext(), Value();
        if (member == "AddNew") return rows_->AddNew(), Value();
        if (member == "Update") return rows_->Update(), owner_->Keep(), Value();
        if (member == "Delete") return rows_->Delete(), owner_->Keep(), Value();
        if (member == "Close") return rows_->Close(), owner_->Keep(), Value();
        RaiseRuntimeError(kNoSuchMember, std::string(member));
    }

private:
    void Open(std::span<Argument> arguments) {
        owner_ = std::dynamic_pointer_cast<ConnectionObject>(ToObject(arguments[1].value));
        if (!owner_) RaiseRuntimeError(kTypeMismatch);
        rows_ = owner_->connection->CreateRecordset();
        rows_->Open(ToText(arguments[0].value), static_cast<CursorType>(ToLong(arguments[2].value)),
                    static_cast<LockType>(ToLong(arguments[3].value)));
    }

    std::shared_ptr<ConnectionObject> owner_;  // outlives the rows
    std::shared_ptr<Recordset> rows_;
};

}  // namespace

ObjectRef AdoObjects::CreateObject(std::string_view progId) {
    if (progId == "ADODB.Connection") return std::make_shared<ConnectionObject>(connect_());
    if (progId == "ADODB.Recordset") return std::make_shared<RecordsetObject>();
    RaiseRuntimeError(kCannotCreateObject, std::string(progId));
}

}  // namespace iqrx::testing
