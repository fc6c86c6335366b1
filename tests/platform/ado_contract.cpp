// The database port's contract over ADO, with late-bound objects around the embedded database in ADO's place.
#include <unistd.h>

#include <filesystem>

#include "platform/ado/connection.h"
#include "platform/database_contract.h"
#include "platform/sqlite/sqlite_database.h"
#include "support/ado_objects.h"

namespace iqrx::testing {
namespace {

class Ado : public Adapter {
public:
    Ado() {
        std::filesystem::remove(file_);
        platform::ApplySqliteScript(file_, "");
    }
    ~Ado() override { std::filesystem::remove(file_); }

    const Quirks& GetQuirks() const override { return quirks_; }
    std::unique_ptr<platform::Connection> CreateConnection() override {
        return platform::ado::CreateConnection(objects_);
    }
    std::string ConnectionString() override { return "Data Source=" + file_.string(); }
    std::string UnusableConnectionString() override { return "Data Source=" + file_.string() + ".none"; }

    // The tables of the embedded database are made by scripts, not through the port.
    void Define(platform::Connection&, const std::string& text) override {
        platform::ApplySqliteScript(file_, text);
    }

private:
    std::filesystem::path file_ =
        std::filesystem::temp_directory_path() / ("database_contract." + std::to_string(getpid()) + ".ado.db");
    AdoObjects objects_{[] { return platform::CreateSqliteConnection({}); }};
    Quirks quirks_{.uncounted = {"SET DATEFORMAT YMD", "truncate table items "}};
};

const auto kAdo = ::testing::Values(AdapterMaker{"Objects", [] { return std::make_unique<Ado>(); }});

INSTANTIATE_TEST_SUITE_P(Ado, RecordsetContract, kAdo, NameOf);
INSTANTIATE_TEST_SUITE_P(Ado, DatabaseContract, kAdo, NameOf);
INSTANTIATE_TEST_SUITE_P(Ado, AnswersContract, kAdo, NameOf);
INSTANTIATE_TEST_SUITE_P(Ado, BatchContract, kAdo, NameOf);
INSTANTIATE_TEST_SUITE_P(Ado, AnyNameContract, kAdo, NameOf);
INSTANTIATE_TEST_SUITE_P(Ado, FrameContract, kAdo, NameOf);
INSTANTIATE_TEST_SUITE_P(Ado, LockContract, kAdo, NameOf);
INSTANTIATE_TEST_SUITE_P(Ado, NoGroupContract, kAdo, NameOf);

}  // namespace
}  // namespace iqrx::testing
