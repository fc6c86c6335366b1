#include "erp/extract/audit.h"

#include <algorithm>
#include <optional>

#include "erp/extract/audit_criteria.h"
#include "erp/extract/late_bound.h"
#include "erp/extract/manager.h"
#include "platform/date.h"

namespace iqrx::erp::extract {

namespace {

using platform::Argument;
using platform::ObjectRef;
using platform::Value;

// The table's own fields, then the trail's two columns, which a file must have like key columns.
std::vector<FieldLayout> FieldsOfTrail(const TableLayout& layout) {
    std::vector<FieldLayout> fields(layout.fields.begin(), layout.fields.end());
    fields.push_back({"", "changed_at", FieldKind::Date, true});
    fields.push_back({"", "change", FieldKind::Text, true});
    return fields;
}

class AuditTrail final : public RecordStream {
public:
    AuditTrail(const std::filesystem::path& file, const TableLayout& layout, const AuditCriteria& criteria)
        : fields_(FieldsOfTrail(layout)), rows_(file, fields_) {
        if (criteria.period) period_ = {criteria.period->from, criteria.period->to};
        for (const auto& parameter : criteria.parameters) AddRange(*parameter);
        for (std::size_t i = 0; i < layout.fields.size(); ++i)
            if (layout.fields[i].key || IsRequested(criteria, layout.fields[i].field)) carried_.push_back(i);
    }

    bool Read(Record& record) override {
        do {
            if (!rows_.Next()) return false;
        } while (!LiesInPeriod() || !Contain(ranges_, rows_));
        for (const std::size_t field : carried_) rows_.Decode(field, record.At(field));
        ReadChange(record);
        return true;
    }

private:
    static bool IsRequested(const AuditCriteria& criteria, std::string_view field) {
        return std::find(criteria.outputFields.begin(), criteria.outputFields.end(), field) !=
               criteria.outputFields.end();
    }

    void AddRange(const AuditParameter& parameter) {
        const auto field = std::find_if(fields_.begin(), fields_.end(), [&](const FieldLayout& candidate) {
            return candidate.field == parameter.fieldName;
        });
        if (field == fields_.end())
            Raise(platform::kInvalidProcedureCall, "The audit trail has no field " + parameter.fieldName);
        ranges_.emplace_back(static_cast<std::size_t>(field - fields_.begin()), field->kind, parameter.from,
                             parameter.to);
    }

    std::size_t ChangedAt() const { return fields_.size() - 2; }
    std::size_t Change() const { return fields_.size() - 1; }

    bool LiesInPeriod() const {
        const Value changedAt = rows_.Decode(ChangedAt());
        if (!changedAt.Is<platform::Date>()) rows_.FailAt(ChangedAt(), "the moment of the change is missing");
        const platform::Date moment = changedAt.As<platform::Date>();
        return !period_ || (period_->first <= moment && moment <= period_->second);
    }

    void ReadChange(Record& record) const {
        record.inserted = record.updated = record.deleted = false;
        for (const char letter : rows_.Text(Change())) {
            if (letter == 'I')
                record.inserted = true;
            else if (letter == 'U')
                record.updated = true;
            else if (letter == 'D')
                record.deleted = true;
            else
                rows_.FailAt(Change(), "'" + std::string(1, letter) + "' is none of the letters I, U and D");
        }
    }

    std::vector<FieldLayout> fields_;
    TableReader rows_;
    std::optional<std::pair<platform::Date, platform::Date>> period_;
    KeyRanges ranges_;
    std::vector<std::size_t> carried_;
};

class AuditReader final : public platform::Object {
public:
    Value Invoke(std::string_view member, std::span<Argument> arguments) override {
        if (member == "Initialize") return Initialize(arguments);
        if (member == "getOriginalObject") {
            ExpectArguments(arguments, 1);
            return ObjectRef(ObjectOf<Record>(arguments[0].value, "audit element"));
        }
        ExpectArguments(arguments, 0);
        if (member == "hasMoreElements") return elements_ && elements_->HasMore();
        if (member == "nextElement") return NextElement();
        RaiseNoSuchMember("The audit reader", member);
    }

private:
    // Manager, record and criteria; all three stay what they are.
    Value Initialize(std::span<Argument> arguments) {
        ExpectArguments(arguments, 3);
        const auto manager = ObjectOf<Manager>(arguments[0].value, "manager");
        ObjectOf<Record>(arguments[1].value, "record");
        const auto criteria = ObjectOf<AuditCriteria>(arguments[2].value, "audit criteria");
        elements_.reset();
        if (Exists(manager->AuditFile()))
            elements_.emplace(std::make_unique<AuditTrail>(manager->AuditFile(), manager->Layout(), *criteria),
                              std::make_shared<RecordShape>(manager->Layout().fields));
        return {};
    }

    Value NextElement() {
        if (!elements_) Raise(platform::kInvalidProcedureCall, "There are no more elements");
        return ObjectRef(elements_->Next());
    }

    std::optional<Elements> elements_;
};

class RecordStatus final : public platform::Object {
public:
    Value Invoke(std::string_view member, std::span<Argument> arguments) override {
        ExpectArguments(arguments, 1);
        const auto element = ObjectOf<Record>(arguments[0].value, "audit element");
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
