#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

#include "platform/error.h"
#include "support/test_process.h"
#include "tables/routines.h"

namespace iqrx::testing {
namespace {

using namespace std::string_literals;
using platform::Integer;
using platform::Long;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

Fields ServiceType(const std::string& code, const std::string& description, const std::string& procedure,
                   Integer yesNo) {
    return {{"getServiceType", code},
            {"getServiceTypeDescription", description},
            {"getServiceProcedure", procedure},
            {"getAvailabilityType", "R"s},
            {"getGenDefaultAssignment", yesNo}};
}

const Fields kKnown = ServiceType("A", "Owner's repair", "P1", 1);
const Fields kNew = ServiceType("B", "Install", "", 2);
const std::string kUpdateOfA =
    "UPDATE tsmdm030 SET dsca = N'Owner''s repair', prod = N'P1', ract = N'R', dahe = 1, upd_flag = 0 WHERE "
    "cstp = N'A'";
const std::string kMark = "UPDATE tsmdm030 SET upd_flag = 1 ";
const std::string kSweep = "DELETE FROM tsmdm030 WHERE upd_flag = 1";
const std::string kStamp =
    "UPDATE tstables SET lutm  = CONVERT(DATETIME,'2026-03-04 05:06:07',120) WHERE tablename = N'tsmdm030'";
const std::string kUtcStamp =
    "UPDATE tstables SET lutm  = CONVERT(DATETIME,'2026-03-04 04:06:07',120) WHERE tablename = N'tsmdm030'";

class ServiceTypes : public TestProcess, public ::testing::Test {
protected:
    // Everything is known locally but type B; the insert of B adds one row.
    ServiceTypes() {
        OpenDatabase();
        database.defaultAffected = 1;
        database.WhenExecutedBeginning("UPDATE tsmdm030 SET dsca = N'Install'", 0);
        xml.texts = {{"SLBL0456", "The full copy of %1 failed."},
                     {"SLBL0512", "The incremental copy of %1 failed."},
                     {"SLBL0507", "%1: %2"},
                     {"STIT0010", "Service Types"},
                     {"STIT0095", "Data Copy"},
                     {"SLBL0375", "Inserted %1"},
                     {"SLBL0376", "Updated %1"},
                     {"SLBL0377", "Deleted %1"}};
    }
    void Copy(Integer syncMethod) {
        tables::CopyServiceTypes({run, "tsmdm030", "run parameter", syncMethod});
    }
    platform::RuntimeError ErrorOfCopy(Integer syncMethod) {
        try {
            Copy(syncMethod);
        } catch (const platform::RuntimeError& error) {
            return error;
        }
        return {0, "", "(no error)"};
    }
    void ExpectCounts(Long inserted, Long updated, Long deleted) {
        EXPECT_EQ(run.counters.inserted, inserted);
        EXPECT_EQ(run.counters.updated, updated);
        EXPECT_EQ(run.counters.deleted, deleted);
    }
};

TEST_F(ServiceTypes, AreLeftAloneByAnyOtherMethod) {
    Copy(0);
    Copy(3);
    EXPECT_THAT(database.calls, IsEmpty());
    EXPECT_THAT(erp.calls, IsEmpty());
}

TEST_F(ServiceTypes, AskTheErpForAFullCopyInThisOrder) {
    erp.records = {kKnown};
    Copy(1);
    EXPECT_THAT(erp.calls, ElementsAre("create manager tsmdm030", "manager.SetRunParameter('run parameter')",
                                       "manager.GetByKeyRange('', '~~~')", "enumerator.hasMoreElements()",
                                       "enumerator.nextElement()", "enumerator.hasMoreElements()",
                                       "manager.CloseManager()"));
}

TEST_F(ServiceTypes, AskTheAuditTrailInThisOrderAndLeaveTheManagerOpen) {
    database.WhenOpened("SELECT * FROM tstables WHERE tablename = N'tsmdm030'",
                        Rows{{"tablename", "lutm"}, {{"tsmdm030"s, At("2026-03-01 10:00:00")}}});
    erp.trail = {{"D", kKnown}, {"I", kNew}};
    Copy(2);
    EXPECT_THAT(
        erp.calls,
        ElementsAre("create manager tsmdm030", "create record tsmdm030",
                    "create com.orva.erp.audit.AuditCriteria", "create com.orva.erp.audit.Period",
                    "create com.orva.erp.audit.Parameter", "create com.orva.erp.audit.AuditReader",
                    "create com.orva.erp.audit.RecordStatus", "manager.SetRunParameter('run parameter')",
                    "Period.setFrom(2026-03-01 10:00:00)", "Period.setTo(2026-03-04 05:06:07)",
                    "AuditCriteria.setPeriod(Period)", "Parameter.setFieldName('cstp')",
                    "Parameter.setFrom('')", "Parameter.setTo('~~~')", "AuditCriteria.addParameter(Parameter)",
                    "AuditCriteria.addOutputField('desc')", "AuditCriteria.addOutputField('proc')",
                    "AuditCriteria.addOutputField('ract')", "AuditCriteria.addOutputField('dahe')",
                    "AuditReader.Initialize(manager, record, AuditCriteria)", "AuditReader.hasMoreElements()",
                    "AuditReader.nextElement()", "AuditReader.getOriginalObject(element 1)",
                    "RecordStatus.isDeleted(element 1)", "AuditReader.hasMoreElements()",
                    "AuditReader.nextElement()", "AuditReader.getOriginalObject(element 2)",
                    "RecordStatus.isDeleted(element 2)", "RecordStatus.isUpdated(element 2)",
                    "RecordStatus.isInserted(element 2)", "AuditReader.hasMoreElements()"));
}

TEST_F(ServiceTypes, AskEachGetterAfreshForEachStatement) {
    erp.logGetters = true;
    erp.records = {kNew};
    Copy(1);
    const std::vector<std::string> getters(erp.calls.begin() + 5, erp.calls.begin() + 15);
    EXPECT_THAT(getters, ElementsAre("record 1.getServiceTypeDescription()", "record 1.getServiceProcedure()",
                                     "record 1.getAvailabilityType()", "record 1.getGenDefaultAssignment()",
                                     "record 1.getServiceType()", "record 1.getServiceType()",
                                     "record 1.getServiceTypeDescription()", "record 1.getServiceProcedure()",
                                     "record 1.getAvailabilityType()", "record 1.getGenDefaultAssignment()"));
}

TEST_F(ServiceTypes, CountAllTheirRecordsAsInsertedByAFullCopy) {
    erp.records = {kKnown, kNew};
    Copy(1);
    ExpectCounts(2, 0, 0);
    EXPECT_THAT(RunLog(), HasSubstr("Inserted tsmdm030 -  2"));
    EXPECT_THAT(RunLog(), Not(HasSubstr("Updated")));
}

TEST_F(ServiceTypes, CountByAFullCopyWhatTheRunHadUpdatedBefore) {
    run.counters = {7, 5, 3};
    erp.records = {kKnown};
    Copy(1);
    ExpectCounts(6, 0, 3);
}

TEST_F(ServiceTypes, AreEmptiedWhenTheErpHasNone) {
    Copy(1);
    EXPECT_THAT(database.executed, ElementsAre(kMark, kSweep, kStamp));
    ExpectCounts(0, 0, 0);
}

TEST_F(ServiceTypes, StayAsTheyAreWhenTheErpAnswersNoEnumerator) {
    erp.hasEnumerator = false;
    Copy(1);
    EXPECT_THAT(database.calls, IsEmpty());
    EXPECT_EQ(RunLog(), "");
    EXPECT_EQ(erp.calls.back(), "manager.CloseManager()");
}

TEST_F(ServiceTypes, EndTheirFullCopyWhereTheEnumeratorAnswersNull) {
    erp.records = {kKnown};
    erp.answersNullAtTheEnd = true;
    Copy(1);
    EXPECT_THAT(database.executed, ElementsAre(kMark, kUpdateOfA, kSweep, kStamp));
}

TEST_F(ServiceTypes, AreMarkedAfterTheFetchAndTheStartMoment) {
    erp.onFetch = [&](auto, auto) { clock.now = At("2026-03-04 05:07:00"); };
    Copy(1);
    EXPECT_THAT(database.executed.back(), HasSubstr("2026-03-04 05:07:00"));
}

TEST_F(ServiceTypes, RegisterTheirManagerWithAComponentThatASiteSet) {
    process.sharedBusComponent = std::make_shared<FakeObject>(
        "component", &erp.calls, [&](auto, std::span<platform::Argument> arguments) -> platform::Value {
            EXPECT_TRUE(arguments[0].byReference);
            arguments[0].value = std::make_shared<FakeObject>("registered", &erp.calls);
            return {};
        });
    Copy(1);
    EXPECT_THAT(erp.calls, ElementsAre("create manager tsmdm030", "component.addManager(manager)",
                                       "registered.SetRunParameter('run parameter')",
                                       "registered.GetByKeyRange('', '~~~')", "registered.CloseManager()"));
}

TEST_F(ServiceTypes, AreNotSweptAfterAnUpsertThatFailed) {
    erp.records = {kKnown, kNew};
    database.WhenExecuted(kUpdateOfA, platform::RuntimeError(-2147467259, "server", "deadlock"));
    const platform::RuntimeError error = ErrorOfCopy(1);
    EXPECT_EQ(error.number, -2147467259);
    EXPECT_EQ(error.description, "Data Copy: The full copy of Service Types failed.");
    EXPECT_THAT(database.executed, ElementsAre(kMark, kUpdateOfA));
    EXPECT_THAT(RunLog(), HasSubstr("deadlock"));
    EXPECT_THAT(RunLog(), Not(HasSubstr("Inserted")));
    EXPECT_EQ(erp.calls.back(), "manager.CloseManager()");
}

TEST_F(ServiceTypes, LetGoOfTheErpInOrder) {
    std::vector<std::string> order;
    erp.records = {kKnown, kNew};
    erp.onManagerMember = [&](auto member, auto) {
        if (member == "CloseManager")
            order.push_back(RunLog().find("Date-Time") == std::string::npos ? "close" : "log, close");
        return platform::Value();
    };
    erp.onRelease = [&](const std::string& name) { order.push_back("release " + name); };
    Copy(1);
    EXPECT_THAT(order, ElementsAre("release record 1", "close", "release enumerator", "release record 2"));

    order.clear();
    database.WhenExecuted(kUpdateOfA, platform::RuntimeError(-2147467259, "server", "deadlock"));
    ErrorOfCopy(1);
    EXPECT_THAT(order, ElementsAre("log, close", "release enumerator", "release record 1"));
}

TEST_F(ServiceTypes, LetGoOfTheTrailAfterTheFailureIsLogged) {
    std::string logWhenReleased = "never released";
    erp.trail = {{"U", kKnown}};
    erp.onRelease = [&](auto&) { logWhenReleased = RunLog(); };
    database.WhenExecuted(kUpdateOfA, platform::RuntimeError(-2147467259, "server", "deadlock"));
    ErrorOfCopy(2);
    EXPECT_THAT(logWhenReleased, HasSubstr("deadlock"));
}

TEST_F(ServiceTypes, StampTheEndOfTheirWindowThoughTheClockGoesOn) {
    erp.trail = {{"U", kKnown}, {"I", kNew}};
    clock.step = 60;  // seconds a look
    Copy(2);
    EXPECT_THAT(erp.calls, Contains("Period.setTo(2026-03-04 05:06:07)"));
    EXPECT_EQ(database.executed.back(), kUtcStamp);
}

TEST_F(ServiceTypes, ApplyEachChangeOfTheTrailAsAUnit) {
    erp.trail = {{"D", kKnown}, {"U", kKnown}};
    Copy(2);
    EXPECT_THAT(std::vector(database.calls.begin(), database.calls.end() - 1), Contains("Begin unit").Times(2));
    EXPECT_THAT(database.calls, Contains("End unit").Times(2));
}

TEST_F(ServiceTypes, AreNotSweptAfterARecordThatCannotBeFetched) {
    erp.records = {kKnown, kNew};
    erp.failAt = 2;
    EXPECT_EQ(ErrorOfCopy(1).number, -2147023170);
    EXPECT_THAT(database.executed, ElementsAre(kMark, kUpdateOfA));
}

TEST_F(ServiceTypes, StopAtANullAnswerOfAGetter) {
    Fields record = kKnown;
    record["getServiceProcedure"] = platform::Null{};
    erp.records = {record};
    EXPECT_EQ(ErrorOfCopy(1).number, platform::kInvalidUseOfNull);
    EXPECT_THAT(database.executed, ElementsAre(kMark));
    EXPECT_THAT(RunLog(), HasSubstr("Invalid use of Null: getServiceProcedure of tsmdm030, cstp 'A'"));
}

TEST_F(ServiceTypes, SayWhereAValueIsThatDoesNotConvert) {
    Fields record = kKnown;
    record["getServiceType"] = "A\r\nB"s;
    record["getGenDefaultAssignment"] = "perhaps"s;
    erp.records = {record};
    EXPECT_EQ(ErrorOfCopy(1).number, platform::kTypeMismatch);
    EXPECT_THAT(RunLog(), HasSubstr("Type mismatch: getGenDefaultAssignment of tsmdm030, cstp 'A\\x0D\\x0AB'"));
}

TEST_F(ServiceTypes, StopAtAGetterThatFails) {
    Fields record = kKnown;
    record.erase("getServiceProcedure");
    erp.records = {record};
    EXPECT_EQ(ErrorOfCopy(1).number, platform::kNoSuchMember);
    EXPECT_THAT(database.executed, ElementsAre(kMark));
}

TEST_F(ServiceTypes, StopWhenACounterOverflows) {
    erp.records = {kKnown};
    run.counters.updated = std::numeric_limits<Long>::max();
    EXPECT_EQ(ErrorOfCopy(1).number, platform::kOverflow);
    EXPECT_THAT(database.executed, Not(Contains(kSweep)));
}

TEST_F(ServiceTypes, StopAtAnInsertThatMeetsARowOfSomeoneElse) {
    erp.records = {kNew};
    database.WhenExecutedBeginning("INSERT INTO tsmdm030", platform::RuntimeError(-2147217873, "", "key"));
    EXPECT_EQ(ErrorOfCopy(1).number, -2147217873);
}

TEST_F(ServiceTypes, AreUpdatedByOneStatementWhereTheyAreKnown) {
    erp.trail = {{"U", kKnown}};
    Copy(2);
    EXPECT_THAT(database.executed, ElementsAre(kUpdateOfA, kUtcStamp));
    ExpectCounts(0, 1, 0);
}

TEST_F(ServiceTypes, CountAnInsertOfExactlyOneRow) {
    for (const Long affected : {0, 1, 2}) {
        erp.trail = {{"I", kNew}};
        database.WhenExecutedBeginning("INSERT INTO tsmdm030", affected);
        Copy(2);
        ExpectCounts(affected == 1 ? 1 : 0, 0, 0);
    }
}

TEST_F(ServiceTypes, AreDeletedWhereTheTrailSaysSoWhetherOrNotTheyAreThere) {
    erp.trail = {{"DU", kKnown}};
    database.WhenExecuted("DELETE FROM tsmdm030 WHERE cstp= N'A'", 0);
    Copy(2);
    EXPECT_THAT(database.executed, ElementsAre("DELETE FROM tsmdm030 WHERE cstp= N'A'", kUtcStamp));
    ExpectCounts(0, 0, 1);
    EXPECT_THAT(RunLog(), HasSubstr("Deleted tsmdm030 -  1"));
}

TEST_F(ServiceTypes, IgnoreAChangeWithoutAStatus) {
    erp.trail = {{"", kKnown}};
    Copy(2);
    EXPECT_THAT(database.executed, ElementsAre(kUtcStamp));
    ExpectCounts(0, 0, 0);
}

TEST_F(ServiceTypes, OfAnEmptyTrailMoveTheWindowAndLogZero) {
    run.counters = {7, 5, 3};
    Copy(2);
    EXPECT_THAT(database.executed, ElementsAre(kUtcStamp));
    ExpectCounts(0, 0, 0);
    EXPECT_THAT(RunLog(), HasSubstr("Inserted tsmdm030 -  0"));
}

TEST_F(ServiceTypes, EndTheirIncrementalCopyWhereTheReaderAnswersNull) {
    erp.trail = {{"U", kKnown}};
    erp.answersNullAtTheEnd = true;
    Copy(2);
    EXPECT_THAT(database.executed, ElementsAre(kUpdateOfA, kUtcStamp));
}

TEST_F(ServiceTypes, ReadTheTrailFrom1970WhereTheyWereNeverCopied) {
    Copy(2);
    EXPECT_THAT(erp.calls, Contains("Period.setFrom(1970-01-01 00:00:00)"));
}

TEST_F(ServiceTypes, KeepTheirWindowWhenTheMomentHasNoUtcForm) {
    clock.now = At("1970-01-01 00:00:00");
    Copy(2);
    EXPECT_THAT(database.executed, IsEmpty());
    EXPECT_THAT(RunLog(), HasSubstr("Inserted"));
}

TEST_F(ServiceTypes, KeepTheirWindowAfterAFailureAndLeaveTheManagerOpen) {
    erp.trail = {{"U", kKnown}, {"I", kNew}};
    erp.failAt = 2;
    const platform::RuntimeError error = ErrorOfCopy(2);
    EXPECT_EQ(error.number, -2147023170);
    EXPECT_EQ(error.description, "Data Copy: The incremental copy of Service Types failed.");
    EXPECT_THAT(database.executed, ElementsAre(kUpdateOfA));
    EXPECT_THAT(RunLog(), HasSubstr("The remote procedure call failed."));
    EXPECT_THAT(erp.calls, Not(Contains("manager.CloseManager()")));
}

}  // namespace
}  // namespace iqrx::testing
