#include "platform/windows/ado/connection.h"

#include "platform/conversions.h"
#include "platform/windows/ado/errors.h"
#include "platform/windows/ado/recordset.h"

namespace iqrx::platform::ado {

namespace {

// A text that answers no rows.
constexpr Long kExecuteText = 0x01 | 0x80;

class AdoConnection : public Connection {
    template <class F>
    auto Calling(F call) {
        return TakingErrors(*connection_, errors_, call);
    }
    void Set(std::string_view member, const Value& value) {
        Calling([&] { connection_->Set(member, value); });
    }

public:
    explicit AdoConnection(ObjectFactory& factory)
        : factory_(factory), connection_(factory.CreateObject("ADODB.Connection")) {}

    ~AdoConnection() override {
        if (open_) AdoConnection::Close();
    }

    void SetConnectionTimeout(int seconds) override { Set("ConnectionTimeout", static_cast<Long>(seconds)); }
    void SetCommandTimeout(int seconds) override { Set("CommandTimeout", static_cast<Long>(seconds)); }

    void Open(const std::string& connectionString) override {
        Set("ConnectionString", connectionString);
        Calling([&] { Call(*connection_, "Open"); });
        open_ = true;
    }

    void Close() override {
        open_ = false;
        try {
            Call(*connection_, "Close");
        } catch (const RuntimeError&) {
            // Closed or broken already.
        }
    }

    std::int32_t Execute(std::string_view sql) override {
        return Calling([&] {
            Value affected;  // a variable of no type yet, as ADO asks for
            Call(*connection_, "Execute", std::string(sql), ByRef{affected}, kExecuteText);
            return affected.Is<Empty>() ? 0 : ToLong(affected);
        });
    }

    std::string DefaultDatabase() override {
        return Calling([&] { return ToText(connection_->Get("DefaultDatabase")); });
    }
    void SetDefaultDatabase(const std::string& name) override { Set("DefaultDatabase", name); }

    Errors& LastErrors() override {
        TakeErrors(*connection_, errors_);
        return errors_;
    }

    void Commit() override {}  // a statement that was reported done is kept
    void RunAsUnit(const Work& work) override { work(); }
    void RunExclusively(const Work& work) override { work(); }

    std::unique_ptr<Recordset> CreateRecordset() override {
        return std::make_unique<AdoRecordset>(factory_.CreateObject("ADODB.Recordset"), connection_, errors_);
    }

private:
    ObjectFactory& factory_;
    ObjectRef connection_;
    Errors errors_;
    bool open_ = false;
};

}  // namespace

std::unique_ptr<Connection> AdoProvider::CreateConnection(std::string_view) {
    return std::make_unique<AdoConnection>(factory_);
}

}  // namespace iqrx::platform::ado
