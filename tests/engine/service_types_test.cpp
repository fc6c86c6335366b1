#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "engine/master_data.h"
#include "support/test_process.h"

namespace iqrx::testing {
namespace {

using namespace std::string_literals;
using platform::Integer;
using ::testing::ElementsAre;

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

class ServiceTypes : public TestProcess, public ::testing::TestWithParam<std::pair<Integer, const char*>> {
protected:
    // Everything is known locally but type B; the insert of B adds one row.
    void Given(Integer databasePlatform) {
        OpenDatabase(databasePlatform);
        database.defaultAffected = 1;
        database.WhenExecutedBeginning("UPDATE tsmdm030 SET dsca = N'Install'", 0);
    }
    void Copy(Integer syncMethod) { engine::CopyServiceTypes(run, "tsmdm030", "run parameter", syncMethod); }
};

class ServiceTypesOnBothPlatforms : public ServiceTypes {};

TEST_P(ServiceTypesOnBothPlatforms, SendTheirFullCopysStatements) {
    Given(GetParam().first);
    erp.records = {kKnown, kNew};
    Copy(1);
    ExpectGolden(database, "tsmdm030.full."s + GetParam().second + ".txt");
}

TEST_P(ServiceTypesOnBothPlatforms, SendTheirIncrementalCopysStatements) {
    Given(GetParam().first);
    erp.trail = {
        {"U", kKnown}, {"I", kNew}, {"DU", ServiceType("C", "", "", 1)}, {"", ServiceType("D", "", "", 1)}};
    Copy(2);
    ExpectGolden(database, "tsmdm030.incremental."s + GetParam().second + ".txt");
}

INSTANTIATE_TEST_SUITE_P(Platforms, ServiceTypesOnBothPlatforms,
                         ::testing::Values(std::pair{Integer{1}, "sqlserver"}, std::pair{Integer{2}, "oracle"}));

TEST_F(ServiceTypes, AskTheErpForAFullCopyInThisOrder) {
    Given(1);
    erp.records = {kKnown};
    Copy(1);
    EXPECT_THAT(erp.calls, ElementsAre("create manager tsmdm030", "manager.SetRunParameter('run parameter')",
                                       "manager.GetByKeyRange('', '~~~')", "enumerator.hasMoreElements()",
                                       "enumerator.nextElement()", "enumerator.hasMoreElements()",
                                       "manager.CloseManager()"));
}

TEST_F(ServiceTypes, AskTheAuditTrailInThisOrderAndLeaveTheManagerOpen) {
    Given(1);
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
    Given(1);
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

}  // namespace
}  // namespace iqrx::testing
