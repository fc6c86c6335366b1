#include "qrxctl/progress.h"

#include <ostream>

#include "platform/database_wrapper.h"

namespace iqrx::qrxctl {

namespace {

class CountingConnection : public platform::ConnectionWrapper {
public:
    CountingConnection(std::unique_ptr<platform::Connection> connection, Progress& progress)
        : ConnectionWrapper(std::move(connection)), progress_(progress) {}

    std::int32_t Execute(const platform::Statement& statement) override {
        progress_.Count();
        return Wrapped().Execute(statement);
    }

private:
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
