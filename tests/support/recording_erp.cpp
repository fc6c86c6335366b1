#include "support/recording_erp.h"

#include <memory>
#include <utility>

#include "platform/conversions.h"
#include "platform/date.h"
#include "platform/error.h"

namespace iqrx::testing {

using platform::Argument;
using platform::ObjectRef;
using platform::Value;

namespace {

// Hands every call on to the fake, so that a test can keep the fake and its record.
class ErpHandle : public erp::Erp {
public:
    explicit ErpHandle(RecordingErp& erp) : erp_(erp) {}
    ObjectRef CreateManager(const erp::TableLayout& layout) override { return erp_.CreateManager(layout); }
    ObjectRef CreateRecord(const erp::TableLayout& layout) override { return erp_.CreateRecord(layout); }
    ObjectRef CreateObject(std::string_view progId) override { return erp_.CreateObject(progId); }

private:
    RecordingErp& erp_;
};

std::string ShortName(std::string_view progId) { return std::string(progId.substr(progId.rfind('.') + 1)); }

}  // namespace

std::string Shown(const Value& value) {
    if (value.Is<platform::Empty>()) return "Empty";
    if (value.Is<platform::Null>()) return "Null";
    if (value.Is<platform::Date>()) return platform::IsoDateTime(value.As<platform::Date>());
    if (value.Is<ObjectRef>()) {
        if (!value.As<ObjectRef>()) return "Nothing";
        const auto* fake = dynamic_cast<const FakeObject*>(value.As<ObjectRef>().get());
        return fake ? fake->name : "object";
    }
    std::string text = platform::ToText(value);
    for (char& c : text)
        if (c == '\x7f') c = '~';
    return value.Is<std::string>() ? "'" + text + "'" : text;
}

FakeObject::FakeObject(std::string nameToUse, std::vector<std::string>* log, Members members)
    : name(std::move(nameToUse)), log_(log), members_(std::move(members)) {}

FakeObject::~FakeObject() {
    if (onRelease) onRelease(name);
}

Value FakeObject::Invoke(std::string_view member, std::span<Argument> arguments) {
    if (log_) {
        std::string line = name + "." + std::string(member) + "(";
        for (const Argument& argument : arguments)
            line += (&argument == arguments.data() ? "" : ", ") + Shown(argument.value);
        log_->push_back(line + ")");
    }
    return members_ ? members_(member, arguments) : Value();
}

void FakeObject::Set(std::string_view member, const Value& value) {
    if (log_) log_->push_back(name + "." + std::string(member) + " = " + Shown(value));
}

ObjectRef RecordingErp::CreateManager(const erp::TableLayout& layout) {
    calls.push_back("create manager " + std::string(layout.table));
    return std::make_shared<FakeObject>(
        "manager", &calls, [this](auto member, auto arguments) { return AnswerManager(member, arguments); });
}

ObjectRef RecordingErp::CreateRecord(const erp::TableLayout& layout) {
    calls.push_back("create record " + std::string(layout.table));
    return std::make_shared<FakeObject>("record", nullptr);
}

ObjectRef RecordingErp::CreateObject(std::string_view progId) {
    calls.push_back("create " + std::string(progId));
    if (progId.ends_with(".AuditReader")) return MakeReader();
    if (progId.ends_with(".RecordStatus")) return MakeStatus();
    if (onCreateObject)
        if (ObjectRef object = onCreateObject(progId)) return object;
    return std::make_shared<FakeObject>(ShortName(progId), &calls);
}

std::unique_ptr<erp::Erp> RecordingErp::Open(const std::string& runParameter, const erp::Notice&) {
    if (onOpen) return onOpen(runParameter);
    return std::make_unique<ErpHandle>(*this);
}

Value RecordingErp::AnswerManager(std::string_view member, std::span<Argument> arguments) {
    if (member == "GetByKeyRange" || member == "GetByStatusRange") {
        if (onFetch) onFetch(member, arguments);
        return hasEnumerator ? MakeEnumerator() : ObjectRef();
    }
    return onManagerMember ? onManagerMember(member, arguments) : Value();
}

ObjectRef RecordingErp::MakeRecord(const Fields& fields, const std::string& name) {
    auto record =
        std::make_shared<FakeObject>(name, logGetters ? &calls : nullptr, [fields](auto member, auto) {
            const auto found = fields.find(member);
            if (found == fields.end())
                platform::RaiseRuntimeError(platform::kNoSuchMember, std::string(member));
            return found->second;
        });
    record->onRelease = onRelease;
    return record;
}

ObjectRef RecordingErp::MakeEnumerator() {
    auto next = std::make_shared<std::size_t>(0);
    auto enumerator = std::make_shared<FakeObject>(
        "enumerator", &calls, [this, next, fetched = records](auto member, auto) -> Value {
            if (member == "hasMoreElements") return HasMore(*next < fetched.size());
            FailWhere(++*next);
            return MakeRecord(fetched.at(*next - 1), "record " + std::to_string(*next));
        });
    enumerator->onRelease = onRelease;
    return enumerator;
}

ObjectRef RecordingErp::MakeReader() {
    readElements_ = 0;
    return std::make_shared<FakeObject>("AuditReader", &calls, [this](auto member, auto) -> Value {
        if (member == "hasMoreElements") return HasMore(readElements_ < trail.size());
        if (member != "nextElement") return {};
        FailWhere(++readElements_);
        return MakeRecord(trail.at(readElements_ - 1).fields, "element " + std::to_string(readElements_));
    });
}

ObjectRef RecordingErp::MakeStatus() {
    return std::make_shared<FakeObject>("RecordStatus", &calls, [this](auto member, auto) -> Value {
        const char letter = member == "isDeleted" ? 'D' : member == "isUpdated" ? 'U' : 'I';
        return trail.at(readElements_ - 1).letters.find(letter) != std::string::npos;
    });
}

Value RecordingErp::HasMore(bool has) const {
    if (!has && answersNullAtTheEnd) return platform::Null{};
    return has;
}

void RecordingErp::FailWhere(std::size_t number) const {
    if (failAt == number)
        throw platform::RuntimeError(-2147023170, "ERP", "The remote procedure call failed.");
}

}  // namespace iqrx::testing
