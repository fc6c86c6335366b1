// The database port's contract on the embedded database.
#include <unistd.h>

#include <filesystem>

#include "platform/database_contract.h"
#include "platform/sqlite/sqlite_database.h"
#include "support/late_database.h"

namespace iqrx::testing {
namespace {

class Embedded : public Adapter {
public:
    Embedded() {
        std::filesystem::remove(file_);
        platform::ApplySqliteScript(file_, "");
    }
    ~Embedded() override { std::filesystem::remove(file_); }

    const Quirks& GetQuirks() const override { return quirks_; }
    std::unique_ptr<platform::Connection> CreateConnection() override {
        return platform::CreateSqliteConnection({});
    }
    std::string ConnectionString() override { return "Provider=SQLite;Data Source=" + file_.string(); }
    std::string UnusableConnectionString() override {
        return "Provider=SQLite;Data Source=" + file_.string() + ".none";
    }

    // The tables of the embedded database are made by scripts, not through the port.
    void Define(platform::Connection&, const std::string& text) override {
        platform::ApplySqliteScript(file_, text);
    }

private:
    std::filesystem::path file_ = std::filesystem::temp_directory_path() /
                                  ("database_contract." + std::to_string(getpid()) + ".embedded.db");
    Quirks quirks_{.uncounted = {"SET DATEFORMAT YMD", "truncate table items "}};
};

// The tests' connection that answers late keeps the contract, too.
class Late : public Embedded {
public:
    std::unique_ptr<platform::Connection> CreateConnection() override {
        return std::make_unique<LateConnection>(Embedded::CreateConnection(), 10);
    }
};

const auto kEmbedded = ::testing::Values(AdapterMaker{"File", [] { return std::make_unique<Embedded>(); }});

INSTANTIATE_TEST_SUITE_P(Embedded, RecordsetContract, kEmbedded, NameOf);
INSTANTIATE_TEST_SUITE_P(Embedded, DatabaseContract, kEmbedded, NameOf);
INSTANTIATE_TEST_SUITE_P(Embedded, AnswersContract, kEmbedded, NameOf);
INSTANTIATE_TEST_SUITE_P(Embedded, BatchContract, kEmbedded, NameOf);
INSTANTIATE_TEST_SUITE_P(Embedded, AnyNameContract, kEmbedded, NameOf);
INSTANTIATE_TEST_SUITE_P(Embedded, FrameContract, kEmbedded, NameOf);
INSTANTIATE_TEST_SUITE_P(Embedded, LockContract, kEmbedded, NameOf);
INSTANTIATE_TEST_SUITE_P(Embedded, UnitContract, kEmbedded, NameOf);

const auto kLate = ::testing::Values(AdapterMaker{"File", [] { return std::make_unique<Late>(); }});

INSTANTIATE_TEST_SUITE_P(Late, DatabaseContract, kLate, NameOf);
INSTANTIATE_TEST_SUITE_P(Late, AnswersContract, kLate, NameOf);
INSTANTIATE_TEST_SUITE_P(Late, FrameContract, kLate, NameOf);

}  // namespace
}  // namespace iqrx::testing
