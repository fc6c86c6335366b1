// The database port's contract on the recording fake. What it is told is what it answers, so that only its
// way with the rows of a recordset can be wrong.
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
    std::string UnusableConnectionString() override { return {}; }
    void Tell(const std::string& text, const SharedRows& rows) override {
        database_.WhenOpened(text, OpenAnswer(rows));
    }

private:
    RecordingDatabase database_;
    Quirks quirks_;
};

const AdapterMaker kRecording{"Told", [] { return std::make_unique<Recording>(); }};

INSTANTIATE_TEST_SUITE_P(Recording, RecordsetContract, ::testing::Values(kRecording), NameOf);

}  // namespace
}  // namespace iqrx::testing
