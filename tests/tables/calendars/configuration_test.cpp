// What each configuration table and the skill combinations send to the database and ask the ERP.
#include "tables/routines.h"

#include "support/table_case.h"
#include "tables/calendars/object_pages.h"

namespace iqrx::testing {
namespace {

using namespace std::string_literals;
using namespace tables;
using platform::Integer;

const TableCase kTables[] = {
    {.table = "tcccp001",
     .copy = CopyAvailabilityTypes,
     .known = {{"getAvailabilityType", "AV1"s},
               {"getDescription", "Owner's hours"s},
               {"getPlanningTimeUnit", "day"s},
               {"getHoursPerDay", "8"s},
               {"getAvailability", "yes"s}},
     .fresh = {{"getAvailabilityType", "AV2"s},
               {"getDescription", "New hours"s},
               {"getPlanningTimeUnit", ""s},
               {"getHoursPerDay", "24"s},
               {"getAvailability", "no"s}},
     .gone = {{"getAvailabilityType", "AV3"s}},
     .updateOfFresh = "UPDATE tcccp001 SET dsca = N'New",
     .parameters = {"'ract' '' '~~~~~~'"},
     .outputFields = {"ract", "dsca", "ptmu", "hrsd", "avlb"},
     .fetch = "GetByKeyRange('', '~~~~~~')",
     .serve = {}},
    {.table = "tscfg220",
     .copy = CopyInstallations,
     .known = {{"getConfiguration", "CFG1"s},
               {"getDescription", "Owner's boiler"s},
               {"getBusinessPartner", "BP1"s},
               {"getServiceCenter", "WC1"s},
               {"getServiceArea", "A1"s},
               {"getResponsibleTechnician", "T0"s},
               {"getFirstTechnician", "T1"s},
               {"getSecondTechnician", "T2"s},
               {"getCustomerCode", "C1"s},
               {"getZone", "Z1"s},
               {"getTravelingDistance", "12"s},
               {"getTravelingTime", "30"s},
               {"getCalendarCode", "CAL"s},
               {"getAddressCode", "ADR1"s}},
     .fresh = {{"getConfiguration", "CFG2"s},
               {"getDescription", "New boiler"s},
               {"getBusinessPartner", ""s},
               {"getServiceCenter", "WC2"s},
               {"getServiceArea", ""s},
               {"getResponsibleTechnician", ""s},
               {"getFirstTechnician", "T3"s},
               {"getSecondTechnician", ""s},
               {"getCustomerCode", "C2"s},
               {"getZone", ""s},
               {"getTravelingDistance", ""s},
               {"getTravelingTime", ""s},
               {"getCalendarCode", ""s},
               {"getAddressCode", "ADR2"s}},
     .gone = {{"getConfiguration", "CFG3"s}},
     .updateOfFresh = "UPDATE  tscfg220 SET  dsca =N'New",
     .parameters = {"'ccfg' '' '~~~~~~~~'"},
     .outputFields = {"ccfg", "desc", "ofbp", "cwoc", "csar", "teca", "tecb", "cusc", "czon", "dist", "trti",
                      "ccal", "cadr"},
     .fetch = "GetByKeyRange('', '~~~~~~~~')",
     .serve = {}},
    {.table = "tscfg200",
     .copy = CopyServiceObjects,
     .known = {{"getConfiguration", "CFG1"s},
               {"GetObject", "OB1"s},
               {"getObjectNumber", Integer{10}},
               {"getDescription", "Owner's pump"s},
               {"getObjectGroup", "G1"s},
               {"getServiceEmployee", "E1"s},
               {"getDeliveryCode", "D1"s}},
     .fresh = {{"getConfiguration", "CFG2"s},
               {"GetObject", "OB2"s},
               {"getObjectNumber", Integer{20}},
               {"getDescription", "New pump"s},
               {"getObjectGroup", ""s},
               {"getServiceEmployee", "E2"s},
               {"getDeliveryCode", ""s}},
     .gone = {{"getConfiguration", "CFG3"s}, {"GetObject", "OB3"s}, {"getObjectNumber", Integer{30}}},
     .updateOfFresh = "UPDATE  tscfg200 SET  ccfg =N'CFG2'",
     .parameters = {"'ccfg' '' '" + std::string(8, '~') + "'", "'crob' '' '" + std::string(47, '~') + "'",
                    "'oseq' '0000' '9999'"},
     .outputFields = {"ccfg", "crob", "oseq", "desc", "cogr", "emno", "cusc", "manu", "ccal", "cdel"},
     .fetch = "ListObjects('', '', 0, 750, 0, 'N')",
     .serve = ServeObjectPages},
    {.table = "tsmdm000",
     .copy = CopySkillCombinations,
     .known = {{"getSkillI", "S1"s},
               {"getSkillII", "Owner's"s},
               {"getSkillIII", "S3"s},
               {"getTimeDurationUnit", "hr"s}},
     .fresh = {{"getSkillI", "S2"s}, {"getSkillII", ""s}, {"getSkillIII", ""s}, {"getTimeDurationUnit", "day"s}},
     .gone = {{"getSkillI", "S4"s}},
     .updateOfFresh = "UPDATE tsmdm000 SET skla = N'S2'",
     .parameters = {"'seqn' '0' '99'"},
     .outputFields = {"skla", "sklb", "sklc", "untd"},
     .fetch = "GetByKeyRange('0', '99')",
     .serve = {}},
};

class ConfigurationStatements : public ::testing::TestWithParam<GoldenCase> {};
TEST_P(ConfigurationStatements, AreThoseOfTheGoldenFile) { ExpectGoldenCopy(GetParam()); }
INSTANTIATE_TEST_SUITE_P(All, ConfigurationStatements, ::testing::ValuesIn(GoldenCases(kTables)),
                         GoldenTestName);

class ConfigurationCalls : public ::testing::TestWithParam<TableCase> {};
TEST_P(ConfigurationCalls, OfAFullCopyCloseTheManager) { ExpectFullCopysCalls(GetParam()); }
TEST_P(ConfigurationCalls, OfAnIncrementalCopyLeaveTheManagerOpen) {
    ExpectIncrementalCopysCalls(GetParam());
}
INSTANTIATE_TEST_SUITE_P(All, ConfigurationCalls, ::testing::ValuesIn(kTables), TableTestName);

}  // namespace
}  // namespace iqrx::testing
