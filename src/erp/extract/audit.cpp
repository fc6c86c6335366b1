#include <algorithm>
#include <optional>

#include "erp/extract/key_range.h"
#include "erp/extract/late_bound.h"
#include "erp/extract/manager.h"
#include "platform/conversions.h"

namespace iqrx::erp::extract {

namespace {

// What an audit reader is asked for. The classes keep the objects that they are given, not copies.
struct AuditPeriod final : platform::Object {
    Value Invoke(std::string_view member, std::span<Argument> arguments) override {
        ExpectArguments(arguments, 1);
        if (member == "setFrom")
            from = platform::ToDate(arguments[0].value);
        else if (member == "setTo")
            to = platform::ToDate(arguments[0].value);
        else
            RaiseNoSuchMember("The period", member);
        return {};
    }

    platform::Date from, to;
};

struct AuditParameter final : platform::Object {
    Value Invoke(std::string_view member, std::span<Argument> arguments) override {
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

    std::string fieldName;
    Value from, to;
};

struct AuditCriteria final : platform::Object {
    Value Invoke(std::string_view member, std::span<Argument> arguments) override {
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

    std::shared_ptr<AuditPeriod> period;  // none: the whole trail
    std::vector<std::shared_ptr<AuditParameter>> parameters;
    std::vector<std::string> outputFields;
};

// The table's own fields, then the trail's two columns.
std::vector<FieldLayout> FieldsOfTrail(const TableLayout& layout) {
    std::vector<FieldLayout> fields(layout.fields.begin(), layout.fields.end());
    fields.push_back({"", "changed_at", FieldKind::Date});
    fields.push_back({"", "change", FieldKind::Text});
    return fields;
}

// The columns that the trail must have; an element carries those that are the table's fields.
std::vector<std::string_view> NeededColumns(const TableLayout& layout, const AuditCriteria& criteria) {
    std::vector<std::string_view> needed{"changed_at", "change"};
    for (const FieldLayout& field : layout.fields)
        if (field.key) needed.push_back(field.field);
    for (const auto& parameter : criteria.parameters) needed.push_back(parameter->fieldName);
    needed.insert(needed.end(), criteria.outputFields.begin(), criteria.outputFields.end());
    return needed;
}

KeyRanges RangesOf(std::span<const FieldLayout> fields, const AuditCriteria& criteria) {
    KeyRanges ranges;
    for (const auto& parameter : criteria.parameters) {
        const auto field = std::ranges::find(fields, parameter->fieldName, &FieldLayout::field);
        if (field == fields.end())
            Raise(platform::kInvalidProcedureCall, "The audit trail has no field " + parameter->fieldName);
        ranges.emplace_back(static_cast<std::size_t>(field - fields.begin()), field->kind, parameter->from,
                            parameter->to);
    }
    return ranges;
}

platform::Date MomentOf(const Rows& row, std::size_t field) {
    const Value moment = row.Decode(field);
    if (!moment.Is<platform::Date>()) row.FailAt(field, "the moment of the change is missing");
    return moment.As<platform::Date>();
}

void ReadChange(const Rows& row, std::size_t field, Record& record) {
    record.inserted = record.updated = record.deleted = false;
    for (const char letter : row.Text(field)) {
        if (letter == 'I')
            record.inserted = true;
        else if (letter == 'U')
            record.updated = true;
        else if (letter == 'D')
            record.deleted = true;
        else
            row.FailAt(field, Quoted({&letter, 1}) + " is none of the letters I, U and D");
    }
}

// The changes that the criteria ask for.
RecordStream ChangesIn(const std::filesystem::path& file, const TableLayout& layout,
                       const AuditCriteria& criteria) {
    const std::vector<FieldLayout> fields = FieldsOfTrail(layout);
    const std::size_t changedAt = layout.fields.size(), change = changedAt + 1;
    std::optional<AuditPeriod> period;
    if (criteria.period) period = *criteria.period;
    const auto keep = [period, ranges = RangesOf(fields, criteria), changedAt](const Rows& row) {
        const platform::Date moment = MomentOf(row, changedAt);
        return (!period || (period->from <= moment && moment <= period->to)) && Contain(ranges, row);
    };
    const auto rows = std::make_shared<Rows>(std::make_shared<SourceFile>(file, kErrorSource), fields,
                                             NeededColumns(layout, criteria));
    return [rows, change, changes = RecordsOf(rows, keep)](Record& record) {
        const bool found = changes(record);
        if (found) ReadChange(*rows, change, record);
        return found;
    };
}

class AuditReader final : public platform::Object {
public:
    Value Invoke(std::string_view member, std::span<Argument> arguments) override {
        if (member == "Initialize") return Initialize(arguments);
        if (member == "getOriginalObject") {
            ExpectArguments(arguments, 1);
            return ObjectRef(ObjectOf<Record>(arguments[0].value, "an audit element"));
        }
        ExpectArguments(arguments, 0);
        if (member == "hasMoreElements") return elements_.HasMore();
        if (member == "nextElement") return ObjectRef(elements_.Next());
        RaiseNoSuchMember("The audit reader", member);
    }

private:
    // Manager, record and criteria; all three stay what they are.
    Value Initialize(std::span<Argument> arguments) {
        ExpectArguments(arguments, 3);
        const auto manager = ObjectOf<Manager>(arguments[0].value, "a manager");
        ObjectOf<Record>(arguments[1].value, "a record");
        const auto criteria = ObjectOf<AuditCriteria>(arguments[2].value, "audit criteria");
        elements_ = {};
        elements_ = {ChangesIn(manager->AuditFile(), manager->Layout(), *criteria), manager->Layout().fields};
        return {};
    }

    Elements elements_;
};

class RecordStatus final : public platform::Object {
public:
    Value Invoke(std::string_view member, std::span<Argument> arguments) override {
        ExpectArguments(arguments, 1);
        const auto element = ObjectOf<Record>(arguments[0].value, "an audit element");
        if (member == "isDeleted") return element->deleted;
        if (member == "isUpdated") return element->updated;
        if (member == "isInserted") return element->inserted;
        RaiseNoSuchMember("The record status", member);
    }
};

}  // namespace

ObjectRef CreateAuditObject(std::string_view progId) {
    if (progId == "com.orva.erp.audit.AuditCriteria") return std::make_shared<AuditCriteria>();
    if (progId == "com.orva.erp.audit.Period") return std::make_shared<AuditPeriod>();
    if (progId == "com.orva.erp.audit.Parameter") return std::make_shared<AuditParameter>();
    if (progId == "com.orva.erp.audit.AuditReader") return std::make_shared<AuditReader>();
    if (progId == "com.orva.erp.audit.RecordStatus") return std::make_shared<RecordStatus>();
    return nullptr;
}

}  // namespace iqrx::erp::extract
