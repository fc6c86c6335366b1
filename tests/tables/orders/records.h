// ERP records of the service-order tables, with values in every column.
#pragma once

#include "support/recording_erp.h"
#include "support/test_process.h"

namespace iqrx::testing {

using namespace std::string_literals;
using platform::Double;
using platform::Integer;
using platform::Long;
using platform::Null;

inline Fields With(Fields record, const Fields& changed) {
    for (const auto& [getter, value] : changed) record[getter] = value;
    return record;
}

inline Fields Order(const std::string& orno, const Fields& changed = {}) {
    return With({{"getServiceOrder", orno},
                 {"getConfiguration", "CFG1"s},
                 {"getSoldToBusinessPartner", "B1"s},
                 {"getSoldToBusinessPartnerName", "Brown's"s},
                 {"getLocationAddress", "L1"s},
                 {"getProject", "P1"s},
                 {"getOrderDate", At("2026-03-01 00:30:00")},
                 {"getOrderStatus", Integer{10}},
                 {"getServiceCenter", "W1"s},
                 {"getServiceArea", "A1"s},
                 {"getServiceEngineer", "E1"s},
                 {"getBlocked", Integer{1}},
                 {"getInterrupted", Integer{2}},
                 {"getInterruptionReason", ""s},
                 {"getOrderDuration", Double{1.5}},
                 {"getTravelDuration", Double{0.25}},
                 {"getPlannedStartTime", At("2026-03-04 08:00:00")},
                 {"getPlannedFinishTime", At("2026-03-04 09:30:00")},
                 {"getPlannedEarliestStartTime", At("2026-07-01 12:00:00")},
                 {"getPlannedLatestFinishTime", At("2026-12-31 23:59:59")},
                 {"getOvertime", Integer{3}},
                 {"getAppointment", Integer{4}},
                 {"getRescheduleWithDetailSRP", Integer{5}},
                 {"getActualTravelStartTime", Null()},
                 {"getExecutionStartTime", At("1970-01-01 00:00:00")},
                 {"getExecutionFinishTime", At("1970-01-01 00:00:01")},
                 {"getServiceContract", "C1"s},
                 {"getServiceOrderQuotation", "Q1"s},
                 {"getShipToBusinessPartner", "S1"s},
                 {"getEmergencyOrder", Integer{6}},
                 {"getPageFrequency", Long{15}},
                 {"getDispatchTime", At("2026-03-04 10:00:00")}},
                changed);
}

// An order as the audit trail shows it: without what is not asked for.
inline Fields OrderInTrail(const std::string& orno, const Fields& changed = {}) {
    return With(Order(orno, {{"getSoldToBusinessPartnerName", ""s}}), changed);
}

inline Fields Activity(Long acln, const Fields& changed = {}) {
    return With({{"getServiceOrder", "O1"s},
                 {"getActivityLineNumber", acln},
                 {"getReferenceActivity", "RA1"s},
                 {"getDescription", "Repair"s},
                 {"getServiceType", "S1"s},
                 {"getActivityGroup", "G1"s},
                 {"getConfiguration", "CFG1"s},
                 {"GetObject", "OB1"s},
                 {"getObjectNumber", Long{3}},
                 {"getCall", "C1"s},
                 {"getResponseTime", "RT1"s},
                 {"getProblemPriority", Integer{1}},
                 {"getCustomerPriority", Integer{2}},
                 {"getObjectPriority", Integer{3}},
                 {"getProblem", "PR1"s},
                 {"getSolution", "SO1"s},
                 {"getActivityStatus", Integer{10}},
                 {"getSkill1", "K1"s},
                 {"getSkill2", "K2"s},
                 {"getSkill3", ""s},
                 {"getActivityDuration", Double{2.75}},
                 {"getAppointment", Integer{1}},
                 {"getPlannedStartTime", At("2026-03-04 08:00:00")},
                 {"getPlannedFinishTime", At("2026-03-04 09:30:00")},
                 {"getPlannedEarliestStartTime", At("2026-07-01 12:00:00")},
                 {"getPlannedLatestFinishTime", At("2026-12-31 23:59:59")},
                 {"getExecutionStartTime", Null()},
                 {"getExecutionFinishTime", At("1970-01-01 00:00:00")}},
                changed);
}

inline Fields OrderLine(const std::string& orno, Long line, const std::string& engineer, Long activity) {
    return {{"getServiceOrder", orno},
            {"getLineNumber", line},
            {"getServiceEngineer", engineer},
            {"getActivity", activity}};
}

inline Fields Assignment(const std::string& orno, Integer asln, Integer acln, const std::string& engineer) {
    return {{"getServiceOrder", orno},
            {"getAssignmentLine", asln},
            {"getActivity", acln},
            {"getServiceEngineer", engineer},
            {"getDeliveryTime", At("2026-03-04 06:00:00")},
            {"getAcceptanceTime", At("2026-03-04 06:05:00")},
            {"getRejectionTime", Null()},
            {"getPlannedStartTime", At("2026-03-04 08:00:00")},
            {"getPlannedFinishTime", At("2026-03-04 09:30:00")},
            {"getActualStartTime", At("2026-07-01 12:00:00")},
            {"getActualFinishTime", At("1970-01-01 00:00:00")},
            {"getJobCompletionTime", At("1970-01-01 00:00:01")},
            {"getLatestContactTime", At("2026-01-01 00:59:59")}};
}

inline Fields PlannedActivity(const std::string& configuration, Long number, const Fields& changed = {}) {
    return With({{"getConfiguration", configuration},
                 {"getActivity", "RA1"s},
                 {"getActivityNumber", number},
                 {"getDescription", "Check"s},
                 {"getActivityGroup", "G1"s},
                 {"getServiceType", "S1"s},
                 {"getServiceCenter", "W1"s},
                 {"GetObject", "OB1"s},
                 {"getObjectNumber", Long{3}},
                 {"getEarliestStartTime", At("2026-07-01 12:00:00")},
                 {"getPlannedStartTime", At("2026-03-04 08:00:00")},
                 {"getPlannedFinishTime", Null()},
                 {"getLatestFinishTime", At("1970-01-01 00:00:00")},
                 {"getActivityDuration", Double{2.75}},
                 {"getTravelingTime", Double{0.5}},
                 {"getSkill1", "K1"s},
                 {"getSkill2", "K2"s},
                 {"getSkill3", ""s},
                 {"getAppointment", Integer{2}},
                 {"getActivityStatus", Integer{4}},
                 {"getServiceOrder", "O1"s},
                 {"getActivityLineNumber", Long{10}}},
                changed);
}

}  // namespace iqrx::testing
