#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "com_server/com_site.h"

namespace iqrx::testing {
namespace {

using namespace std::string_literals;
using hosting::windows::ComRequests;
using hosting::windows::CreateDataCopy;
using platform::Long;
using platform::windows::Bstr;
using platform::windows::ComRef;
using platform::windows::Variant;
using ::testing::HasSubstr;
using ::testing::Not;

class RequestsThroughCom : public ComSite, public ::testing::Test {
protected:
    void Request(const std::string& connection, const std::string& name, short platformNumber = 1) {
        if (!copy) {
            requests.emplace(process);
            copy = CreateDataCopy(lifetime, library, *requests).As<_clsDataCopy>();
        }
        Variant number;
        platform::windows::ToVariant(platform::Integer{platformNumber}, number);
        EXPECT_EQ(copy->StartDataCopy(Bstr(connection).Get(), Bstr(name).Get(), 2, 1,
                                      Bstr(Folder("logs")).Get(), Bstr("bus").Get(), number),
                  S_OK);
    }
    std::ptrdiff_t CatalogsLoaded() const {
        return std::ranges::count_if(database.calls, [](const std::string& call) {
            return call.starts_with("Open SELECT a.ERPTableID");
        });
    }

    std::optional<ComRequests> requests;
    ComRef<_clsDataCopy> copy;
};

TEST_F(RequestsThroughCom, KeepTheCatalogOfTheirDatabase) {
    Request("one server", "sync");
    Request("one server", "sync");
    EXPECT_EQ(CatalogsLoaded(), 1);
}

TEST_F(RequestsThroughCom, LoadTheCatalogOfAnotherDatabase) {
    Request("one server", "sync");
    Request("one server", "archive");
    EXPECT_EQ(CatalogsLoaded(), 2) << "another database";
    Request("another server", "archive");
    EXPECT_EQ(CatalogsLoaded(), 3) << "another connection string";
    Request("another server", "archive", 2);
    EXPECT_EQ(CatalogsLoaded(), 4) << "another platform";
    Request("one server", "sync");
    EXPECT_EQ(CatalogsLoaded(), 5) << "the first one again";
}

TEST_F(RequestsThroughCom, LoadTheCatalogAgainAfterOneThatCouldNotBeLoaded) {
    Request("one server", "sync");
    database.WhenOpened(kCatalogText, platform::RuntimeError(-5, "provider", "no such table"));
    Request("one server", "archive");
    EXPECT_THAT(RequestLog("logs"), HasSubstr("no such table"));
    database.WhenOpened(kCatalogText, Rows{{"ERPTableID", "tableid", "tablename", "text"},
                                           {{"erp030"s, Long{2}, "tsmdm030"s, "Service Types"s}}});
    database.calls.clear();
    Request("one server", "sync");
    EXPECT_EQ(CatalogsLoaded(), 1) << "what the failure left is not taken for the first database's";
}

TEST_F(RequestsThroughCom, ReadTheCatalogInTheirOwnDatabase) {
    Request("one server", "sync");
    const auto read = std::ranges::find_if(
        database.calls, [](const std::string& call) { return call.starts_with("Open SELECT a.ERPTableID"); });
    ASSERT_NE(read, database.calls.end());
    EXPECT_EQ(*std::prev(read), "DefaultDatabase sync");
}

TEST_F(RequestsThroughCom, NameTheSettingsFileThatIsMissingWhenTheCatalogIsEmpty) {
    std::filesystem::remove(directory.path / "iQRXyQRXSync.ini");
    Request("one server", "sync");
    EXPECT_THAT(RequestLog("logs"), HasSubstr("Cannot Proceed; "));
    EXPECT_THAT(RequestLog("logs"), HasSubstr("iQRXyQRXSync.ini is missing"));
}

TEST_F(RequestsThroughCom, NameTheSettingsFileThatNamesNoTreeGroup) {
    WriteSettings("[Requests]\n");
    Request("one server", "sync");
    EXPECT_THAT(RequestLog("logs"), HasSubstr("iQRXyQRXSync.ini names no TreeGroup"));
}

TEST_F(RequestsThroughCom, DoNotBlameTheSettingsFileForAnotherFailure) {
    std::filesystem::remove(directory.path / "iQRXyQRXSync.ini");
    database.WhenConnected(platform::RuntimeError(-5, "provider", "no such server"));
    Request("one server", "sync");
    EXPECT_THAT(RequestLog("logs"), HasSubstr("no such server"));
    EXPECT_THAT(RequestLog("logs"), Not(HasSubstr("iQRXyQRXSync.ini")));
}

}  // namespace
}  // namespace iqrx::testing
