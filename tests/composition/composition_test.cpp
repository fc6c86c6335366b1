#include "composition/composition.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iostream>

#include "platform/error.h"
#include "platform/posix/environment_variable.h"
#include "support/temporary_directory.h"
#include "support/test_process.h"

namespace iqrx::testing {
namespace {

using hosting::Composition;
using hosting::Surroundings;
using hosting::SurroundingsOf;
using platform::posix::ScopedVariable;
using ::testing::HasSubstr;

template <class Body>
std::string DescriptionOf(Body body) {
    try {
        body();
    } catch (const platform::RuntimeError& error) {
        return error.description;
    }
    return "";
}

class AComposition : public ::testing::Test {
protected:
    void RunAStatement(Composition& parts) const {
        const std::string text = "Provider=SQLite;Data Source=" + (directory.path / "local.db").string();
        parts.ApplyEmbeddedSchema(text, "CREATE TABLE IF NOT EXISTS tsmdm030 (cstp TEXT)");
        const auto connection = parts.Ports(std::cerr).databases.get().CreateConnection(text);
        connection->Open(text);
        connection->Execute("DELETE FROM tsmdm030");
    }

    TemporaryDirectory directory;
};

TEST(TheSurroundings, AreWhatTheVariablesName) {
    const Surroundings found =
        SurroundingsOf([](const std::string& name) { return std::optional("/of/" + name); });
    EXPECT_EQ(found.trace, "/of/QRX_SQL_TRACE");
    EXPECT_EQ(found.instances, "/of/QRX_INSTANCE");
    EXPECT_FALSE(found.isEmbedded);
}

TEST(TheSurroundings, NameNothingWithoutVariables) {
    const ScopedVariable trace("QRX_SQL_TRACE", "");
    const Surroundings found = SurroundingsOf(hosting::Variable);
    EXPECT_EQ(found.trace, std::nullopt) << "an empty variable names nothing either";
    EXPECT_EQ(found.instances, std::nullopt);
}

TEST_F(AComposition, TracesStatementsWhereItsSurroundingsSay) {
    const auto file = directory.path / "trace";
    Composition parts({.trace = file});
    RunAStatement(parts);
    EXPECT_THAT(Contents(file), HasSubstr("DELETE FROM tsmdm030"));
}

TEST_F(AComposition, ReadsNoVariableItself) {
    const auto file = directory.path / "trace";
    const ScopedVariable trace("QRX_SQL_TRACE", file.string());
    Composition parts({});
    RunAStatement(parts);
    EXPECT_FALSE(std::filesystem::exists(file));
}

TEST_F(AComposition, NamesATraceThatCannotBeWritten) {
    const auto file = directory.path / "missing" / "trace";
    EXPECT_THAT(DescriptionOf([&] { const Composition parts({.trace = file}); }), HasSubstr(file.string()));
}

TEST_F(AComposition, LeavesARunParameterThatNamesNoExtractToItsSystem) {
    Composition parts({});
    erp::ErpProvider& erps = parts.Ports(std::cerr).erps;
    const erp::Notice notice;
    EXPECT_NE(erps.Open("extract=" + directory.path.string(), notice), nullptr);
    EXPECT_THAT(DescriptionOf([&] { erps.Open("bow-text", notice); }), HasSubstr("\"bow-text\" names no ERP"));
}

}  // namespace
}  // namespace iqrx::testing
