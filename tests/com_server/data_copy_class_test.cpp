#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "com_server/com_site.h"

namespace iqrx::testing {
namespace {

using namespace std::string_literals;
using hosting::windows::ComRequests;
using hosting::windows::CreateDataCopy;
using platform::ObjectRef;
using platform::Value;
using platform::windows::Bstr;
using platform::windows::ComRef;
using platform::windows::Variant;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

// A variant of the value's type.
struct Passed : Variant {
    explicit Passed(const Value& value) { platform::windows::ToVariant(value, *this); }
};

class ADataCopyObject : public ComSite, public ::testing::Test {
protected:
    ADataCopyObject() : requests(process), copy(NewObject()) { Connect(copy, sink); }

    ComRef<_clsDataCopy> NewObject() {
        return CreateDataCopy(lifetime, library, requests).As<_clsDataCopy>();
    }
    static void Connect(const ComRef<_clsDataCopy>& object, EventSink& listener) {
        ComRef<IConnectionPoint> point;
        object.As<IConnectionPointContainer>()->FindConnectionPoint(__uuidof(__clsDataCopy), point.Put());
        DWORD cookie = 0;
        ASSERT_EQ(point->Advise(&listener, &cookie), S_OK);
    }
    HRESULT Start(const ComRef<_clsDataCopy>& object, const std::string& folder,
                  const Value& platformNumber = platform::Integer{1}) const {
        return object->StartDataCopy(Bstr("the string").Get(), Bstr("db").Get(), 2, 1,
                                     Bstr(Folder(folder)).Get(), Bstr("bus").Get(), Passed(platformNumber));
    }
    HRESULT CopyAll(const std::string& folder, const Value& platformNumber = platform::Integer{1}) const {
        return copy->CopyAllTables(Bstr("the string").Get(), Bstr("db").Get(), 1, Bstr(Folder(folder)).Get(),
                                   Bstr("bus").Get(), Passed(platformNumber));
    }
    std::string FailureOf(const std::string& folder) const {
        return "Error 2 -1 DataCopy Failed, see logfile '" +
               (directory.path / folder / "iQRXyDBSync.log").string() + "' for details";
    }

    ComRequests requests;
    EventSink sink;
    ComRef<_clsDataCopy> copy;
};

TEST_F(ADataCopyObject, TellsTheOutcomeOfARequest) {
    EXPECT_EQ(Start(copy, "logs"), S_OK);
    EXPECT_THAT(sink.heard, ElementsAre("Started 2", "Complete 2 0 0 0", "done"));
}

TEST_F(ADataCopyObject, TellsOfAPlatformThatIsNoNumberWithOneOutcome) {
    EXPECT_EQ(Start(copy, "logs", "oracle"s), S_OK);
    EXPECT_THAT(sink.heard, ElementsAre(FailureOf("logs"), "done"));
    EXPECT_THAT(RequestLog("logs"), HasSubstr("Error is - 13: Type mismatch"));
    EXPECT_EQ(Start(copy, "logs"), S_OK) << "the next request is served";
    EXPECT_EQ(sink.heard.back(), "done");
    EXPECT_THAT(sink.heard, SizeIs(5));
}

TEST_F(ADataCopyObject, TellsOfAPlatformThatDoesNotFitItsSetting) {
    EXPECT_EQ(Start(copy, "logs", platform::Long{70'000}), S_OK);
    EXPECT_THAT(sink.heard, ElementsAre(FailureOf("logs"), "done"));
    EXPECT_THAT(RequestLog("logs"), HasSubstr("Error is - 6: Overflow"));
}

TEST_F(ADataCopyObject, LogsToTheDefaultDirectoryWithoutOne) {
    EXPECT_EQ(copy->StartDataCopy(Bstr("s").Get(), Bstr("db").Get(), 2, 1, Bstr("  ").Get(),
                                  Bstr("bus").Get(), Passed("oracle"s)),
              S_OK);
    EXPECT_THAT(sink.heard, ElementsAre(FailureOf("default"), "done"));
    EXPECT_THAT(RequestLog("default"), HasSubstr("Type mismatch"));
}

TEST_F(ADataCopyObject, LogsAnAllTablesRequestWhosePlatformIsNoNumber) {
    EXPECT_EQ(CopyAll("logs", "oracle"s), S_OK);
    EXPECT_THAT(RequestLog("logs"), HasSubstr("Type mismatch"));
    EXPECT_FALSE(process.settings.allTables);
    EXPECT_THAT(sink.heard, IsEmpty()) << "such a request copies nothing and has no outcome";
}

TEST_F(ADataCopyObject, LeavesItsRequestAloneWhenItIsAskedForASecond) {
    sink.actAt = "Started";
    sink.act = [&] {
        EXPECT_EQ(Start(copy, "second"), S_OK);
        EXPECT_EQ(CopyAll("third"), S_OK);
    };
    EXPECT_EQ(Start(copy, "first"), S_OK);
    EXPECT_THAT(sink.heard, ElementsAre("Started 2", "Complete 2 0 0 0", "done"));
    EXPECT_THAT(RequestLog("second"), HasSubstr("Another request is under way in this process"));
    EXPECT_THAT(RequestLog("third"), HasSubstr("Another request is under way in this process"));
    EXPECT_FALSE(process.settings.allTables);
    EXPECT_THAT(TableLog("first"), Not(HasSubstr("Another request")));
}

TEST_F(ADataCopyObject, TellsItsOwnListenersWhenAnotherObjectsRequestIsUnderWay) {
    const auto other = NewObject();
    EventSink othersSink;
    Connect(other, othersSink);
    sink.actAt = "Started";
    sink.act = [&] { EXPECT_EQ(Start(other, "second"), S_OK); };
    EXPECT_EQ(Start(copy, "first"), S_OK);
    EXPECT_THAT(sink.heard, ElementsAre("Started 2", "Complete 2 0 0 0", "done"));
    EXPECT_THAT(othersSink.heard, ElementsAre(FailureOf("second"), "done"));
    EXPECT_THAT(RequestLog("second"), HasSubstr("Another request is under way in this process"));
}

TEST_F(ADataCopyObject, LogsAListOfCalendarsThatIsAskedForOutsideARun) {
    IDispatch* list = platform::windows::DispatchOf(std::make_shared<FakeObject>("list", nullptr)).Detach();
    EXPECT_EQ(copy->getEmployeeCalenderList(&list), S_OK);
    EXPECT_THAT(RequestLog("default"), HasSubstr("Error is - 91: "));

    EXPECT_EQ(Start(copy, "logs"), S_OK);
    EXPECT_EQ(copy->getEmployeeCalenderList(&list), S_OK);
    EXPECT_THAT(TableLog("logs"), HasSubstr("Object variable")) << "after a run its log has a name";
    list->Release();
}

TEST_F(ADataCopyObject, LogsACalendarListThatIsNothing) {
    IDispatch* list = nullptr;
    EXPECT_EQ(copy->getEmployeeCalenderList(&list), S_OK);
    EXPECT_EQ(copy->getEmployeeCalenderList(nullptr), S_OK);
    EXPECT_THAT(RequestLog("default"), HasSubstr("objCalList"));
}

TEST_F(ADataCopyObject, LogsACalendarCodeThatDoesNotConvert) {
    const Passed object(ObjectRef(std::make_shared<FakeObject>("no text", nullptr)));
    Variant error;
    error.vt = VT_ERROR;
    sink.actAt = "Started";
    sink.act = [&] {
        EXPECT_EQ(copy->WriteCalcode(object), S_OK);
        EXPECT_EQ(copy->WriteCalcode(error), S_OK);
    };
    EXPECT_EQ(Start(copy, "logs"), S_OK);
    const std::string log = TableLog("logs");
    const auto first = log.find("Type mismatch");
    ASSERT_NE(first, std::string::npos) << log;
    EXPECT_NE(log.find("Type mismatch", first + 1), std::string::npos) << log;
    EXPECT_THAT(sink.heard, ElementsAre("Started 2", "Complete 2 0 0 0", "done"));
}

TEST_F(ADataCopyObject, LogsCodesFileCallsBeforeTheFirstRun) {
    EXPECT_EQ(copy->CreateCalcodesFile(), S_OK);
    EXPECT_EQ(copy->WriteCalcode(Passed("C01"s)), S_OK);
    EXPECT_EQ(copy->CloseCalcodesFile(), S_OK);
    const std::string log = RequestLog("default");
    int entries = 0;
    for (auto at = log.find("Error is - 91: "); at != std::string::npos;
         at = log.find("Error is - 91: ", at + 1))
        ++entries;
    EXPECT_EQ(entries, 3) << log;
}

}  // namespace
}  // namespace iqrx::testing
