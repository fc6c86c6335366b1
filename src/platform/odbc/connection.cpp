#include <utility>

#include "platform/odbc/odbc_database.h"
#include "platform/odbc/session.h"
#include "platform/text.h"

namespace iqrx::platform {

namespace odbc {

namespace {

class OdbcConnection : public Connection {
public:
    explicit OdbcConnection(TableNames controlTables) : session_(std::move(controlTables)) {}

    void SetConnectionTimeout(int seconds) override { session_.connectionTimeout = seconds; }
    void SetCommandTimeout(int seconds) override {
        session_.Call([&] { session_.SetCommandTimeout(seconds); });
    }
    void Open(const std::string& connectionString) override {
        session_.Call([&] { session_.Open(connectionString); });
    }
    void Close() override { session_.Close(); }

    std::int32_t Execute(const Statement& statement) override {
        return session_.Call([&] { return session_.Execute(statement.Text()); });
    }

    std::string DefaultDatabase() override {
        return session_.Call([&] {
            session_.RequireOpen();
            return session_.driver.catalogs ? session_.Catalog() : catalog_;
        });
    }

    // A driver may take the name and stay where it is: writing to the wrong database would be worse than an
    // error. A database without catalogs has nowhere else to go.
    void SetDefaultDatabase(const std::string& name) override {
        session_.Call([&] {
            session_.RequireOpen();
            if (!session_.driver.catalogs) {
                catalog_ = name;
                return;
            }
            session_.SetCatalog(name);
            const std::string current = session_.Catalog();
            if (!EqualIgnoringCase(current, name))
                session_.Raise(kDatabaseError, "The connection stays in database \"" + current +
                                                   "\" instead of \"" + name + "\"");
        });
    }

    Errors& LastErrors() override { return session_.errors; }
    void Commit() override { session_.Settle(); }
    void RunAsUnit(const Work& work) override { session_.RunAsUnit(work); }
    void RunExclusively(const Work& work) override { session_.RunExclusively(work); }
    std::unique_ptr<Recordset> CreateRecordset() override { return odbc::CreateRecordset(session_); }

private:
    Session session_;
    std::string catalog_;
};

}  // namespace

}  // namespace odbc

std::unique_ptr<Connection> CreateOdbcConnection(TableNames controlTables) {
    return std::make_unique<odbc::OdbcConnection>(std::move(controlTables));
}

}  // namespace iqrx::platform
