// The database port's contract on the recording fake, which is told what a database would answer.
#include "platform/database_contract.h"

namespace iqrx::testing {
namespace {

class Recording : public Adapter {
public:
    const Quirks& GetQuirks() const override { return quirks_; }
    std::unique_ptr<platform::Connection> CreateConnection() override {
        return database_.CreateConnection(ConnectionString());
    }
    std::string ConnectionString() override { return "told"; }
    std::string UnusableConnectionString() override {
        database_.WhenConnected({platform::kDatabaseError, "fake", "no database"});
        return "unusable";
    }
    void Tell(const std::string& text, ExecuteAnswer answer) override {
        database_.WhenExecuted(text, std::move(answer));
    }
    void Tell(const std::string& text, OpenAnswer answer) override {
        database_.WhenOpened(text, std::move(answer));
    }

private:
    RecordingDatabase database_;
    Quirks quirks_;
};

const AdapterMaker kRecording{[] { return std::make_unique<Recording>(); }, [] { return std::string(); }};

INSTANTIATE_TEST_SUITE_P(Recording, DatabaseContract, ::testing::Values(kRecording));

}  // namespace
}  // namespace iqrx::testing
