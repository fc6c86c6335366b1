#include "erp/extract/audit_criteria.h"

#include "erp/extract/late_bound.h"
#include "platform/conversions.h"

namespace iqrx::erp::extract {

using platform::Argument;
using platform::Value;

Value AuditPeriod::Invoke(std::string_view member, std::span<Argument> arguments) {
    ExpectArguments(arguments, 1);
    if (member == "setFrom")
        from = platform::ToDate(arguments[0].value);
    else if (member == "setTo")
        to = platform::ToDate(arguments[0].value);
    else
        RaiseNoSuchMember("The period", member);
    return {};
}

Value AuditParameter::Invoke(std::string_view member, std::span<Argument> arguments) {
    ExpectArguments(arguments, 1);
    if (member == "setFieldName")
        fieldName = platform::ToText(arguments[0].value);
    else if (member == "setFrom")
        from = arguments[0].value;
    else if (member == "setTo")
        to = arguments[0].value;
    else
        RaiseNoSuchMember("The parameter", member);
    return {};
}

Value AuditCriteria::Invoke(std::string_view member, std::span<Argument> arguments) {
    ExpectArguments(arguments, 1);
    if (member == "setPeriod")
        period = ObjectOf<AuditPeriod>(arguments[0].value, "an audit period");
    else if (member == "addParameter")
        parameters.push_back(ObjectOf<AuditParameter>(arguments[0].value, "an audit parameter"));
    else if (member == "addOutputField")
        outputFields.push_back(platform::ToText(arguments[0].value));
    else
        RaiseNoSuchMember("The audit criteria", member);
    return {};
}

}  // namespace iqrx::erp::extract
