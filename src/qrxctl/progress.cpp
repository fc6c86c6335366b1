#include "qrxctl/progress.h"

#include <ostream>

namespace iqrx::qrxctl {

namespace {

class CountingConnection : public platform::Connection {
public:
    CountingConnection(std::unique_ptr<platform::Connection> connection, Progress& progress)
        : connection_(std::move(connection)), progress_(progress) {}

    void SetConnectionTimeout(int seconds) override { connection_->SetConnectionTimeout(seconds); }
    void SetCommandTimeout(int seconds) override { connection_->SetCommandTimeout(seconds); }
    void Open(const std::string& connectionString) override { connection_->Open(connectionString); }
    void Close() override { connection_->Close(); }
    std::int32_t Execute(std::string_view sql) override {
        progress_.Count();
        return connection_->Execute(sql);
    }
    std::string DefaultDatabase() override { return connection_->DefaultDatabase(); }
    void SetDefaultDatabase(const std::string& name) override { connection_->SetDefaultDatabase(name); }
    platform::Errors& LastErrors() override { return connection_->LastErrors(); }
    std::unique_ptr<platform::Recordset> CreateRecordset() override { return connection_->CreateRecordset(); }

private:
    std::unique_ptr<platform::Connection> connection_;
    Progress& progress_;
};

}  // namespace

void Progress::Begin(const std::string& table) {
    table_ = table;
    statements_ = 0;
    if (onTerminal_) Show();
}

void Progress::Count() {
    constexpr auto kPause = std::chrono::milliseconds(200);
    constexpr long kLookAtClock = 64;
    if (++statements_ % kLookAtClock != 0 || !onTerminal_) return;
    const auto now = std::chrono::steady_clock::now();
    if (now - shown_ < kPause) return;
    shown_ = now;
    Show();
}

void Progress::Show() { out_ << '\r' << table_ << "  " << statements_ << " statements" << std::flush; }

void Progress::End(const std::string& outcome) {
    if (onTerminal_) out_ << "\r\x1b[K";
    out_ << table_ << "  " << outcome << ", " << statements_ << " statements" << std::endl;
}

std::unique_ptr<platform::Connection> CountingDatabase::CreateConnection(std::string_view connectionString) {
    return std::make_unique<CountingConnection>(provider_.CreateConnection(connectionString), progress_);
}

}  // namespace iqrx::qrxctl
