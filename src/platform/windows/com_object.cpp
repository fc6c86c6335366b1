#include "platform/windows/com_object.h"

#include <vector>

#include "platform/windows/com_error.h"

namespace iqrx::platform::windows {

namespace {

// The arguments of one call, last first as IDispatch takes them. What a by-reference argument points at lives
// here, so that what the callee leaves can be read back.
class CallFrame {
public:
    explicit CallFrame(std::span<Argument> arguments)
        : arguments_(arguments), storage_(arguments.size()), passed_(arguments.size()) {
        for (std::size_t i = 0; i < arguments.size(); ++i) {
            ToVariant(arguments[i].value, storage_[i]);
            passed_[arguments.size() - 1 - i] =
                arguments[i].byReference ? ReferenceTo(storage_[i]) : static_cast<VARIANT>(storage_[i]);
        }
    }

    DISPPARAMS Parameters() { return {passed_.data(), nullptr, static_cast<UINT>(passed_.size()), 0}; }

    void ReadBack() {
        for (std::size_t i = 0; i < arguments_.size(); ++i)
            if (arguments_[i].byReference && !IsStillTheSame(i))
                arguments_[i].value = FromVariant(storage_[i]);
    }

private:
    // A variable is handed over with its type; one that holds nothing yet may receive any.
    static VARIANT ReferenceTo(VARIANT& target) {
        VARIANT reference;
        VariantInit(&reference);
        if (target.vt == VT_EMPTY || target.vt == VT_NULL) {
            reference.vt = VT_BYREF | VT_VARIANT;
            reference.pvarVal = &target;
        } else {
            reference.vt = static_cast<VARTYPE>(VT_BYREF | target.vt);
            reference.byref = &target.byref;
        }
        return reference;
    }

    // An object left in its place stays the object it was, with all that is known of its class.
    bool IsStillTheSame(std::size_t i) const {
        const Value& value = arguments_[i].value;
        if (!value.Is<ObjectRef>() || storage_[i].vt != VT_DISPATCH) return false;
        const auto* object = dynamic_cast<const ComObject*>(value.As<ObjectRef>().get());
        return object != nullptr && object->Dispatch().Get() == storage_[i].pdispVal;
    }

    std::span<Argument> arguments_;
    std::vector<Variant> storage_;
    std::vector<VARIANT> passed_;  // borrows from storage_
};

}  // namespace

Value ComObject::Invoke(std::string_view member, std::span<Argument> arguments) {
    const DISPID id = IdOf(member);
    CallFrame frame(arguments);
    DISPPARAMS parameters = frame.Parameters();
    Variant result;
    EXCEPINFO exception{};
    const HRESULT called =
        dispatch_->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD | DISPATCH_PROPERTYGET,
                          &parameters, &result, &exception, nullptr);
    if (FAILED(called)) throw ErrorOfCall(called, &exception, member);
    frame.ReadBack();
    return FromVariant(result,
                       [&](ComRef<IDispatch> dispatch) { return Returned(member, std::move(dispatch)); });
}

void ComObject::Set(std::string_view member, const Value& value) {
    const DISPID id = IdOf(member);
    Variant passed;
    ToVariant(value, passed);
    DISPID named = DISPID_PROPERTYPUT;
    DISPPARAMS parameters{&passed, &named, 1, 1};
    EXCEPINFO exception{};
    auto put = [&](WORD how) {
        return dispatch_->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, how, &parameters, nullptr, &exception,
                                 nullptr);
    };
    HRESULT called = put(value.Is<ObjectRef>() ? DISPATCH_PROPERTYPUTREF : DISPATCH_PROPERTYPUT);
    // A class that takes objects by plain assignment.
    if (called == DISP_E_MEMBERNOTFOUND && value.Is<ObjectRef>()) called = put(DISPATCH_PROPERTYPUT);
    if (FAILED(called)) throw ErrorOfCall(called, &exception, member);
}

DISPID ComObject::IdOf(std::string_view member) {
    MemberIds& ids = *class_->members;
    if (const auto known = ids.find(member); known != ids.end()) return known->second;
    std::wstring name = Wide(member);
    LPOLESTR names = name.data();
    DISPID id = DISPID_UNKNOWN;
    Check(dispatch_->GetIDsOfNames(IID_NULL, &names, 1, LOCALE_USER_DEFAULT, &id), member);
    return ids.emplace(member, id).first->second;
}

ObjectRef ComObject::Returned(std::string_view member, ComRef<IDispatch> dispatch) {
    if (ObjectRef own = ObjectInside(dispatch.Get())) return own;
    auto& known = class_->returned[{std::string(member), MethodTable(dispatch.Get())}];
    if (!known) known = std::make_shared<ObjectClass>();
    return std::make_shared<ComObject>(std::move(dispatch), known);
}

ComRef<IDispatch> DispatchOf(const ObjectRef& object) {
    if (const auto* com = dynamic_cast<const ComObject*>(object.get())) return com->Dispatch();
    return AdapterAround(object);
}

ObjectRef ObjectOf(ComRef<IDispatch> dispatch) {
    if (ObjectRef own = ObjectInside(dispatch.Get())) return own;
    return std::make_shared<ComObject>(std::move(dispatch));
}

ObjectRef ComObjectFactory::CreateObject(std::string_view progId) {
    CLSID classId;
    Check(CLSIDFromProgID(Wide(progId).c_str(), &classId), progId);
    ComRef<IDispatch> dispatch;
    Check(CoCreateInstance(classId, nullptr, CLSCTX_INPROC_SERVER | CLSCTX_LOCAL_SERVER, IID_IDispatch,
                           dispatch.PutVoid()),
          progId);
    auto& members = classes_[std::string(progId)];
    if (!members) members = std::make_shared<MemberIds>();
    return std::make_shared<ComObject>(std::move(dispatch),
                                       std::make_shared<ObjectClass>(ObjectClass{members, {}}));
}

}  // namespace iqrx::platform::windows
