// What `qrxctl init` says of a database's collation.
#include "qrxctl/init_command.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <sstream>

#include "support/tds_server.h"

namespace iqrx::qrxctl {
namespace {

using iqrx::testing::TdsReply;
using iqrx::testing::TdsServer;
using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::Not;

const char* const kInCapitals = "SELECT * FROM tstables WHERE tablename = N'TSMDM030'";

// A server that has every row that is asked for.
class Init : public ::testing::Test {
protected:
    Init() {
        server.WhenSentBeginning("SELECT", TdsReply().Rows("tableid", "tablename", {{2, "tsmdm030"}}));
        options.connection = "Driver=FreeTDS;Server=127.0.0.1;Port=" + std::to_string(server.Port()) +
                             ";TDS_Version=7.4;Database=qrx;Uid=copy;Pwd=secret";
    }
    std::string Warnings() const {
        hosting::Composition parts({});
        std::ostringstream warnings;
        qrxctl::Init(parts, options, IQRX_SCHEMA_DIRECTORY, warnings);
        return warnings.str();
    }

    TdsServer server;
    Options options;
};

TEST_F(Init, WarnsOfADatabaseThatDoesNotTellSmallLettersFromCapitals) {
    const std::string warnings = Warnings();
    EXPECT_THAT(warnings, HasSubstr("does not tell a from A"));
    std::istringstream lines(warnings);
    for (std::string line; std::getline(lines, line);) EXPECT_LE(line.size(), 80U) << line;
}

TEST_F(Init, IsSilentWhereTheDatabaseTellsThem) {
    server.WhenSent(kInCapitals, TdsReply().Rows("tableid", "tablename", {}));
    EXPECT_EQ(Warnings(), "");
    EXPECT_THAT(server.Texts(), Contains(kInCapitals));
}

TEST_F(Init, DoesNotAskOracle) {
    options.platform = "oracle";
    EXPECT_EQ(Warnings(), "");
    EXPECT_THAT(server.Texts(), Not(Contains(kInCapitals)));
}

TEST_F(Init, IsSilentOnAnEmbeddedDatabase) {
    const auto file =
        std::filesystem::temp_directory_path() / ("init_test." + std::to_string(getpid()) + ".db");
    options.connection = "Provider=SQLite;Data Source=" + file.string();
    EXPECT_EQ(Warnings(), "");
    for (const char* part : {"", "-wal", "-shm"}) std::filesystem::remove(file.string() + part);
}

}  // namespace
}  // namespace iqrx::qrxctl
