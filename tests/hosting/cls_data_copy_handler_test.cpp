#include "hosting/cls_data_copy_handler.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/error.h"
#include "support/test_process.h"

namespace iqrx::testing {
namespace {

using namespace std::string_literals;
using platform::Long;
using platform::ObjectRef;
using platform::Value;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

// The scheduler's side: a registry that hands out one instance object; both record their calls.
struct Scheduler : platform::ObjectFactory {
    std::vector<std::string> calls;
    bool hasInstance = true;
    std::string failOn;
    std::optional<platform::Integer> numberLeft;  // by the registry in getInstance's argument
    std::optional<Long> keyLeft;                  // by the instance object in UpdateStatusByTable's

    ObjectRef CreateObject(std::string_view progId) override {
        calls.push_back("create " + std::string(progId));
        return std::make_shared<FakeObject>("registry", &calls, [this](auto, auto arguments) -> Value {
            if (numberLeft) arguments[0].value = *numberLeft;
            if (!hasInstance) return ObjectRef();
            return std::make_shared<FakeObject>("instance", &calls, [this](auto member, auto passed) -> Value {
                if (member == failOn) throw platform::RuntimeError(-2147023170, "RPC", "The caller is gone");
                if (member == "UpdateStatusByTable" && keyLeft) passed[3].value = *keyLeft;
                return {};
            });
        });
    }
};

class Handler : public TestProcess, public ::testing::Test {
protected:
    Handler() : service({process.machine, database, erp, scheduler, diagnostics}) {
        database.defaultAffected = 1;
        database.WhenOpened(
            "SELECT a.ERPTableID,a.tableid, a.tablename, c.text from tstables a, tstreenodes b, tsi18ntext c where a.productid = N'1028' AND b.groupid = N'' AND a.tableid = b.tableid AND b.label = c.label",
            Rows{{"ERPTableID", "tableid", "tablename", "text"},
                 {{"erp030"s, Long{2}, "tsmdm030"s, "Service Types"s},
                  {"erpx"s, Long{3}, "unheard_of"s, "Unheard of"s},
                  {"erpcal"s, Long{18}, "tcccp030"s, "Actual Calendars"s}}});
        service.catalog.LoadTableCatalog(database, "c", "", 1, "");
        database.WhenOpened("SELECT tvkparam FROM tsparameters", Rows{{"tvkparam"}, {{Long{0}}}});
        xml.texts = {{"SLBL0006", "%1 (%2) failed"},  {"SLBL0007", "%1 (%2) is in use"},
                     {"SLBL0009", "%1 (%2) started"}, {"SLBL0010", "%1 (%2) done: %3 %4 %5"},
                     {"SLBL0120", "No instance"},     {"SLBL0133", "%1 %2 %3"},
                     {"SLBL0302", "No such table"}};
        service.settings.currentInstanceNumber = 7;
    }

    control::CopyRequest Request(platform::Integer tableId) const {
        return {"the string", "db", tableId, control::kFull, directory.path.string(),
                "bus",        1,    "",      statusKey};
    }
    void Handle(platform::Integer tableId) {
        scheduler.calls.clear();
        hosting::clsDataCopyHandler handler(service);
        handler.HandleDataCopy(Request(tableId));
        outcome = handler.LastOutcome();
    }

    Scheduler scheduler;
    control::Process service;
    std::optional<Long> statusKey;
    control::Outcome outcome = control::Outcome::None;
};

TEST_F(Handler, RelaysACompletedRequestInOrder) {
    Handle(2);
    EXPECT_THAT(
        scheduler.calls,
        ElementsAre("create iQRXyInstHandler.InstanceHandle", "registry.getInstance(7)",
                    "registry.CurrentInstanceNumber = 7",
                    "instance.writeToMessageBox('Service Types (erp030) started', 1899-12-30 05:06:07)",
                    "instance.UpdateSyncStatus(1, 1899-12-30 05:06:07)",
                    "instance.writeToMessageBox('Service Types (erp030) done: 0 0 0', 1899-12-30 05:06:07)",
                    "instance.UpdateSyncStatus(2, 1899-12-30 05:06:07)"));
    EXPECT_EQ(outcome, control::Outcome::Complete);
}

TEST_F(Handler, RelaysTheTablesStatusWhenItIsWanted) {
    statusKey = 42;
    Handle(2);
    EXPECT_THAT(scheduler.calls,
                ::testing::Contains("instance.UpdateStatusByTable('Service Types', 'erp030', 2, 42)"));
    EXPECT_EQ(scheduler.calls.back(), "instance.UpdateStatusByTable('Service Types', 'erp030', 4, 42)");
}

TEST_F(Handler, TakesOverTheInstanceNumberThatTheRegistryLeaves) {
    scheduler.numberLeft = platform::Integer{9};
    Handle(2);
    EXPECT_THAT(scheduler.calls,
                ::testing::IsSupersetOf({"registry.getInstance(7)"s, "registry.CurrentInstanceNumber = 9"s}));
    EXPECT_EQ(service.settings.currentInstanceNumber, 9);
    scheduler.numberLeft.reset();
    Handle(2);
    EXPECT_EQ(scheduler.calls[1], "registry.getInstance(9)") << "the next request goes on from there";
}

TEST_F(Handler, PassesOnTheStatusKeyThatTheSchedulerLeaves) {
    statusKey = 42;
    scheduler.keyLeft = Long{70'000};
    Handle(2);
    EXPECT_THAT(scheduler.calls,
                ::testing::Contains("instance.UpdateStatusByTable('Service Types', 'erp030', 2, 42)"));
    EXPECT_EQ(scheduler.calls.back(), "instance.UpdateStatusByTable('Service Types', 'erp030', 4, 70000)");
}

TEST_F(Handler, RelaysATableInUseWithoutASyncStatus) {
    database.WhenOpened("SELECT * FROM tstables WHERE tablename = N'tsmdm030'", Rows{{"in_use"}, {{Long{1}}}});
    statusKey = 0;
    Handle(2);
    EXPECT_EQ(outcome, control::Outcome::AlreadyInProgress);
    EXPECT_THAT(
        std::vector(scheduler.calls.begin() + 3, scheduler.calls.end()),
        ElementsAre("instance.writeToMessageBox('Service Types (erp030) is in use', 1899-12-30 05:06:07)",
                    "instance.UpdateStatusByTable('Service Types', 'erp030', 8, 0)"));
}

TEST_F(Handler, RelaysAFailingUpsertAsMessageAlertAndStatus) {
    erp.records = {Fields{}};
    statusKey = 0;
    Handle(2);
    EXPECT_EQ(outcome, control::Outcome::Error);
    const std::string log = (directory.path / "tsmdm030_20260304.log").string();
    EXPECT_THAT(std::vector(scheduler.calls.begin() + 6, scheduler.calls.end()),
                ElementsAre("instance.writeToMessageBox('Service Types (erp030) failed', 1899-12-30 05:06:07)",
                            "instance.WriteToAlertBox('tsmdm030 -1 DataCopy Failed, see logfile '" + log +
                                "' for details', 1899-12-30 05:06:07)",
                            "instance.UpdateSyncStatus(3, 1899-12-30 05:06:07)",
                            "instance.UpdateStatusByTable('Service Types', 'erp030', 16, 0)"));
}

TEST_F(Handler, SpeaksOfTheCalendarTableInAnEmployeesCalendarRun) {
    Handle(99);
    EXPECT_THAT(scheduler.calls, ::testing::Contains(HasSubstr("'Actual Calendars (erpcal) started'")));
}

TEST_F(Handler, SpeaksOfATableOutsideTheCatalogByItsId) {
    statusKey = 0;
    Handle(300);
    EXPECT_EQ(outcome, control::Outcome::Error);
    const std::string log = (directory.path / "iQRXyDBSync.log").string();
    EXPECT_THAT(std::vector(scheduler.calls.begin() + 3, scheduler.calls.end()),
                ElementsAre("instance.writeToMessageBox('300 (300) failed', 1899-12-30 05:06:07)",
                            "instance.WriteToAlertBox('300 -1 DataCopy Failed, see logfile '" + log +
                                "' for details', 1899-12-30 05:06:07)",
                            "instance.UpdateSyncStatus(3, 1899-12-30 05:06:07)",
                            "instance.UpdateStatusByTable('300', '300', 16, 0)"));
}

TEST_F(Handler, ShowsAMessageForAnUnknownTableAndRelaysItsCompletion) {
    Handle(3);
    EXPECT_THAT(messageBox.shown, ElementsAre("No such table"));
    EXPECT_THAT(scheduler.calls.back(), HasSubstr("UpdateSyncStatus(2"));
}

TEST_F(Handler, CopiesNothingForAllTablesAndRaisesNoEvent) {
    database.calls.clear();
    Handle(128);
    EXPECT_TRUE(service.settings.allTables);
    EXPECT_THAT(database.calls, IsEmpty());
    EXPECT_EQ(scheduler.calls.size(), 3U) << "only the instance is fetched";
    EXPECT_EQ(outcome, control::Outcome::Complete);
    Handle(2);
    EXPECT_FALSE(service.settings.allTables);
}

TEST_F(Handler, LogsAMissingInstanceObjectAndRunsNothing) {
    scheduler.hasInstance = false;
    database.calls.clear();
    Handle(2);
    EXPECT_THAT(database.calls, IsEmpty());
    EXPECT_THAT(Contents(directory.path / "iQRXyDBSync.log"), HasSubstr("Error is - 1002: No instance"));
    EXPECT_EQ(outcome, control::Outcome::Error);
    EXPECT_EQ(diagnostics.str(), "iQRXyQRXSync: No instance\n");
}

TEST_F(Handler, LogsAMissingInstanceRegistry) {
    control::Process without({process.machine, database, erp, objects, diagnostics});
    hosting::clsDataCopyHandler(without).HandleDataCopy(Request(2));
    EXPECT_THAT(Contents(directory.path / "iQRXyDBSync.log"), HasSubstr("429"));
}

TEST_F(Handler, UnlocksTheTableWhenTheCallerDisappears) {
    scheduler.failOn = "UpdateSyncStatus";
    Handle(2);
    EXPECT_EQ(outcome, control::Outcome::Error);
    EXPECT_EQ(database.executed.back(), "UPDATE tstables SET in_use = 0WHERE tablename = N'tsmdm030'");
    EXPECT_THAT(Contents(directory.path / "tsmdm030_20260304.log"),
                HasSubstr("\"RPC\",\"The caller is gone\""));
}

TEST_F(Handler, TellsTheCountsOfARequestThatCompletedOnly) {
    const Fields sound{{"getServiceType", "A"s},
                       {"getServiceTypeDescription", "Inspection"s},
                       {"getServiceProcedure", "P"s},
                       {"getAvailabilityType", "R"s},
                       {"getGenDefaultAssignment", Long{1}}};
    erp.records = {sound, sound};
    Handle(2);
    EXPECT_EQ(outcome, control::Outcome::Complete);
    EXPECT_THAT(scheduler.calls, ::testing::Contains(HasSubstr("done: 2 0 0")))
        << "a full copy counts every record as inserted";

    erp.records = {sound, Fields{}};
    Handle(2);
    EXPECT_EQ(outcome, control::Outcome::Error);
    EXPECT_THAT(scheduler.calls, ::testing::Not(::testing::Contains(HasSubstr("done"))));
}

TEST_F(Handler, FetchesNoInstanceInStandaloneMode) {
    service.settings.standalone = true;
    Handle(2);
    EXPECT_THAT(scheduler.calls, IsEmpty());
    EXPECT_EQ(outcome, control::Outcome::Complete);
}

}  // namespace
}  // namespace iqrx::testing
