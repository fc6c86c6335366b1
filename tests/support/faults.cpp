#include "support/faults.h"

#include <utility>
#include <vector>

#include "platform/database_wrapper.h"

namespace iqrx::testing {

using namespace platform;

void Faults::Arm(int call, When when) {
    calls_ = 0;
    failing_ = call;
    when_ = when;
    struck_.clear();
}

void Faults::Raise() { throw RuntimeError(kDatabaseError, "test", kText); }

namespace {

class FaultingRecordset final : public RecordsetWrapper {
public:
    FaultingRecordset(std::unique_ptr<Recordset> recordset, Faults& faults)
        : RecordsetWrapper(std::move(recordset)), faults_(faults) {}

    void Open(const platform::Statement& source, CursorType cursor, LockType lock) override {
        faults_.Pass("Open " + std::string(source.Text()), [&] { Wrapped().Open(source, cursor, lock); });
    }
    void Close() override {
        faults_.Pass("Close", [&] { Wrapped().Close(); });
    }
    std::int32_t RecordCount() override {
        return faults_.Pass("RecordCount", [&] { return Wrapped().RecordCount(); });
    }
    void MoveFirst() override {
        faults_.Pass("MoveFirst", [&] { Wrapped().MoveFirst(); });
    }
    void MoveNext() override {
        faults_.Pass("MoveNext", [&] { Wrapped().MoveNext(); });
    }
    Value Field(std::string_view name) override {
        return faults_.Pass("Field", [&] { return Wrapped().Field(name); });
    }
    Value Field(int position) override {
        return faults_.Pass("Field", [&] { return Wrapped().Field(position); });
    }
    void AddNew() override {
        faults_.Pass("AddNew", [&] { Wrapped().AddNew(); });
    }
    void SetField(int position, const Value& value) override {
        faults_.Pass("SetField", [&] { Wrapped().SetField(position, value); });
    }
    void Update() override {
        faults_.Pass("Update", [&] { Wrapped().Update(); });
    }
    void Delete() override {
        faults_.Pass("Delete", [&] { Wrapped().Delete(); });
    }

private:
    Faults& faults_;
};

class FaultingConnection final : public ConnectionWrapper {
public:
    FaultingConnection(std::unique_ptr<Connection> connection, Faults& faults)
        : ConnectionWrapper(std::move(connection)), faults_(faults) {}

    void Open(const std::string& connectionString) override {
        faults_.Pass("Open connection", [&] { Wrapped().Open(connectionString); });
    }
    std::int32_t Execute(const platform::Statement& statement) override {
        const std::string_view sql = statement.Text();
        if (sql.starts_with("UPDATE STATISTICS")) return Wrapped().Execute(statement);
        return faults_.Pass("Execute " + std::string(sql), [&] { return Wrapped().Execute(statement); });
    }
    void SetDefaultDatabase(const std::string& name) override {
        faults_.Pass("SetDefaultDatabase", [&] { Wrapped().SetDefaultDatabase(name); });
    }
    void Commit() override {
        faults_.Pass("Commit", [&] { Wrapped().Commit(); });
    }
    void RunAsUnit(const Work& work) override {
        faults_.Pass("RunAsUnit", [&] { Wrapped().RunAsUnit(work); });
    }
    void RunExclusively(const Work& work) override {
        faults_.Pass("RunExclusively", [&] { Wrapped().RunExclusively(work); });
    }
    std::unique_ptr<Recordset> CreateRecordset() override {
        return std::make_unique<FaultingRecordset>(Wrapped().CreateRecordset(), faults_);
    }

private:
    Faults& faults_;
};

// An object of the ERP around another; what it hands out stands around others, too.
class FaultingObject final : public Object {
public:
    FaultingObject(ObjectRef object, Faults& faults) : object_(std::move(object)), faults_(faults) {}

    Value Invoke(std::string_view member, std::span<Argument> arguments) override {
        std::vector<Argument> passed(arguments.begin(), arguments.end());
        for (Argument& argument : passed) argument.value = Inside(argument.value);
        const std::vector<Argument> before = passed;
        Value result = faults_.Pass(member, [&] { return Around(object_->Invoke(member, passed), faults_); });
        for (std::size_t i = 0; i < arguments.size(); ++i)
            if (arguments[i].byReference && passed[i].value != before[i].value)
                arguments[i].value = Around(passed[i].value, faults_);
        return result;
    }

    static Value Around(const Value& value, Faults& faults) {
        if (!value.Is<ObjectRef>() || !value.As<ObjectRef>()) return value;
        return ObjectRef(std::make_shared<FaultingObject>(value.As<ObjectRef>(), faults));
    }

private:
    static Value Inside(const Value& value) {
        if (!value.Is<ObjectRef>()) return value;
        const auto around = std::dynamic_pointer_cast<FaultingObject>(value.As<ObjectRef>());
        return around ? Value(around->object_) : value;
    }

    ObjectRef object_;
    Faults& faults_;
};

class FaultingErp final : public erp::Erp {
public:
    FaultingErp(std::unique_ptr<erp::Erp> erp, Faults& faults) : erp_(std::move(erp)), faults_(faults) {}

    ObjectRef CreateManager(const erp::TableLayout& layout) override {
        return Create("CreateManager", [&] { return erp_->CreateManager(layout); });
    }
    ObjectRef CreateRecord(const erp::TableLayout& layout) override {
        return Create("CreateRecord", [&] { return erp_->CreateRecord(layout); });
    }
    ObjectRef CreateObject(std::string_view progId) override {
        return Create("CreateObject", [&] { return erp_->CreateObject(progId); });
    }

private:
    template <class Make>
    ObjectRef Create(const char* name, Make make) {
        return faults_.Pass(name, [&] { return FaultingObject::Around(make(), faults_); })
            .template As<ObjectRef>();
    }

    std::unique_ptr<erp::Erp> erp_;
    Faults& faults_;
};

}  // namespace

std::unique_ptr<Connection> FaultingDatabases::CreateConnection(std::string_view connectionString) {
    return std::make_unique<FaultingConnection>(databases_.CreateConnection(connectionString), faults_);
}

std::unique_ptr<erp::Erp> FaultingErps::Open(const std::string& runParameter, const erp::Notice& notice) {
    return faults_.Pass("Open ERP", [&]() -> std::unique_ptr<erp::Erp> {
        return std::make_unique<FaultingErp>(erps_.Open(runParameter, notice), faults_);
    });
}

}  // namespace iqrx::testing
