#include "erp/com/com_erp.h"

#include <gtest/gtest.h>

#include <fstream>
#include <vector>

#include "platform/error.h"
#include "support/temporary_directory.h"

namespace iqrx::erp::com {
namespace {

struct Nameless : platform::Object {
    platform::Value Invoke(std::string_view, std::span<platform::Argument>) override { return {}; }
};

struct NamesOnly : platform::ObjectFactory {
    platform::ObjectRef CreateObject(std::string_view progId) override {
        created.emplace_back(progId);
        return std::make_shared<Nameless>();
    }
    std::vector<std::string> created;
};

class ComErpTest : public ::testing::Test {
protected:
    NamesOnly factory;
    const testing::TemporaryDirectory directory;
    const std::filesystem::path file = directory.path / "classes.ini";
};

TEST_F(ComErpTest, ClassesOfATableAreNamedByTheFile) {
    std::ofstream(file) << "[tsmdm030]\nManager=Site.Manager\nRecord=Site.Record\n";
    const auto erp = OpenComErp(factory, file);

    erp->CreateManager({"tsmdm030", {}});
    erp->CreateRecord({"tsmdm030", {}});
    erp->CreateObject("com.orva.erp.audit.AuditReader");

    EXPECT_EQ(factory.created,
              (std::vector<std::string>{"Site.Manager", "Site.Record", "com.orva.erp.audit.AuditReader"}));
}

TEST_F(ComErpTest, ATableThatTheFileDoesNotNameIsAClearError) {
    std::ofstream(file) << "[tsmdm030]\nManager=\n";
    const auto erp = OpenComErp(factory, file);
    for (const char* table : {"tsmdm030", "tsmdm100"}) {
        try {
            erp->CreateManager({table, {}});
            FAIL() << table;
        } catch (const platform::RuntimeError& error) {
            EXPECT_EQ(error.number, platform::kCannotCreateObject);
            EXPECT_NE(error.description.find(std::string("classes.ini names no Manager for ") + table),
                      std::string::npos)
                << error.description;
        }
    }
}

}  // namespace
}  // namespace iqrx::erp::com
