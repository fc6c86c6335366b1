#include "platform/ado/connection.h"

#include "platform/ado/recordset.h"
#include "platform/database_failure.h"
#include "platform/text.h"

namespace iqrx::platform::ado {

namespace {

// A text that returns no rows.
constexpr Long kExecuteText = 0x01 | 0x80;
constexpr Long kSerializable = 1048576;

// A batch of statements, by the word that it begins with.
bool IsBatch(std::string_view sql) {
    const std::string_view word = sql.substr(0, sql.find_first_of(" \t\r\n"));
    return EqualIgnoringCase(word, "DECLARE") || EqualIgnoringCase(word, "BEGIN");
}

// ADO's "not supported by the provider", as ADO raises it and as the number of a run-time error.
constexpr std::int32_t kFeatureNotAvailable = 3251, kFeatureNotAvailableInAdo = -2146825037;

bool MeansNoTransactions(const RuntimeError& error) {
    return error.number == kNoSuchMember || error.number == kFeatureNotAvailable ||
           error.number == kFeatureNotAvailableInAdo;
}

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
        Quietly([&] { Call(*connection_, "Close"); });  // closed or broken already
    }

    std::int32_t Execute(const Statement& statement) override {
        const std::string_view sql = statement.Text();
        if (!IsBatch(sql)) return Run(sql);
        std::int32_t affected = 0;
        InTransaction([&] { affected = Run(sql); });
        return affected;
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
    void RunExclusively(const Work& work) override {
        const Errors before = LastErrors();
        RepeatForVictims([&] { TryExclusively(work); }, [&] { return NamesAVictim(errors_); });
        errors_ = before;  // not those of a victim
    }

    std::unique_ptr<Recordset> CreateRecordset() override {
        return std::make_unique<AdoRecordset>(factory_.CreateObject("ADODB.Recordset"), connection_, errors_);
    }

private:
    std::int32_t Run(std::string_view sql) {
        return Calling([&] {
            Value affected;  // a variable of no type yet, as ADO asks for
            Call(*connection_, "Execute", std::string(sql), ByRef{affected}, kExecuteText);
            return affected.Is<Empty>() ? 0 : ToLong(affected);
        });
    }

    // A provider without levels may have transactions all the same.
    void TryExclusively(const Work& work) {
        errors_.clear();
        Value level;
        Supported([&] {
            level = connection_->Get("IsolationLevel");
            connection_->Set("IsolationLevel", kSerializable);
        });
        try {
            InTransaction(work);
        } catch (...) {
            RestoreLevel(level);
            throw;
        }
        RestoreLevel(level);
    }

    // Where it fails, later transactions are kept apart from others' more than they need.
    void RestoreLevel(const Value& level) {
        if (!level.Is<Empty>()) Quietly([&] { connection_->Set("IsolationLevel", level); });
    }

    // What the work writes stands or falls together, unless the provider has no transactions. One transaction
    // does not hold another.
    void InTransaction(const Work& work) {
        if (inTransaction_ || !Supported([&] { Call(*connection_, "BeginTrans"); })) return work();
        inTransaction_ = true;
        try {
            work();
            Calling([&] { Call(*connection_, "CommitTrans"); });
        } catch (...) {
            inTransaction_ = false;
            // The server has rolled back already, or does so when it misses the connection.
            Quietly([&] { Call(*connection_, "RollbackTrans"); });
            throw;
        }
        inTransaction_ = false;
    }

    // Makes the calls; false where the provider does not have them.
    template <class F>
    bool Supported(F call) {
        try {
            call();
            return true;
        } catch (const RuntimeError& error) {
            Errors said;
            TakeErrors(*connection_, said);
            if (MeansNoTransactions(error)) return false;
            errors_ = std::move(said);
            throw;
        }
    }

    ObjectFactory& factory_;
    ObjectRef connection_;
    Errors errors_;
    bool open_ = false, inTransaction_ = false;
};

}  // namespace

std::unique_ptr<Connection> CreateConnection(ObjectFactory& factory) {
    return std::make_unique<AdoConnection>(factory);
}

}  // namespace iqrx::platform::ado
