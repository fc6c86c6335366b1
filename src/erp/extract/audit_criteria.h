// What an audit reader is asked for. The classes keep the objects that they are given, not copies.
#pragma once

#include <string>
#include <vector>

#include "platform/object.h"

namespace iqrx::erp::extract {

struct AuditPeriod final : platform::Object {
    platform::Value Invoke(std::string_view member, std::span<platform::Argument> arguments) override;

    platform::Date from, to;
};

struct AuditParameter final : platform::Object {
    platform::Value Invoke(std::string_view member, std::span<platform::Argument> arguments) override;

    std::string fieldName;
    platform::Value from, to;
};

struct AuditCriteria final : platform::Object {
    platform::Value Invoke(std::string_view member, std::span<platform::Argument> arguments) override;

    std::shared_ptr<AuditPeriod> period;  // none: the whole trail
    std::vector<std::shared_ptr<AuditParameter>> parameters;
    std::vector<std::string> outputFields;
};

}  // namespace iqrx::erp::extract
