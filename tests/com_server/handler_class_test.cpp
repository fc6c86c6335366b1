#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "com_server/com_site.h"

namespace iqrx::testing {
namespace {

using hosting::windows::ComRequests;
using hosting::windows::CreateHandler;
using platform::ObjectRef;
using platform::Value;
using platform::windows::Bstr;
using platform::windows::ComRef;
using ::testing::HasSubstr;
using ::testing::Not;

// A registry whose instance object may do something at a call.
struct ActingScheduler : platform::ObjectFactory {
    std::vector<std::string> calls;
    std::function<void()> act;

    ObjectRef CreateObject(std::string_view) override {
        return std::make_shared<FakeObject>("registry", nullptr, [this](auto, auto) -> Value {
            return ObjectRef(std::make_shared<FakeObject>("instance", &calls, [this](auto, auto) -> Value {
                if (act) std::exchange(act, {})();
                return {};
            }));
        });
    }
};

class AHandlerObject : public ComSite, public ::testing::Test {
protected:
    AHandlerObject()
        : service({process.machine, database, erp, scheduler, diagnostics}),
          requests(service),
          handler(CreateHandler(lifetime, library, requests).As<_clsDataCopyHandler>()) {}

    HRESULT Handle(const std::string& folder) const {
        return handler->HandleDataCopy(Bstr("the string").Get(), Bstr("db").Get(), 2, 1,
                                       Bstr(Folder(folder)).Get(), Bstr("bus").Get(), 1);
    }

    ActingScheduler scheduler;
    control::Process service;
    ComRequests requests;
    ComRef<_clsDataCopyHandler> handler;
};

TEST_F(AHandlerObject, LeavesItsRequestAloneWhenItIsAskedForASecond) {
    scheduler.act = [&] { EXPECT_EQ(Handle("second"), S_OK); };
    EXPECT_EQ(Handle("first"), S_OK);
    EXPECT_THAT(RequestLog("second"), HasSubstr("Another request is under way in this process"));
    EXPECT_THAT(TableLog("first"), Not(HasSubstr("Another request")));
    ASSERT_EQ(scheduler.calls.size(), 4U) << "the first request's own: started and complete";
    EXPECT_THAT(scheduler.calls[3], HasSubstr("UpdateSyncStatus(2"));
}

TEST_F(AHandlerObject, LogsACatalogThatCannotBeLoaded) {
    database.WhenConnected(platform::RuntimeError(-5, "provider", "no such server"));
    EXPECT_EQ(Handle("logs"), S_OK);
    EXPECT_THAT(RequestLog("logs"), HasSubstr("no such server"));
    EXPECT_TRUE(scheduler.calls.empty());
}

}  // namespace
}  // namespace iqrx::testing
