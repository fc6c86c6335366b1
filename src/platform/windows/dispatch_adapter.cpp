#include "platform/windows/com_object.h"

#include <array>
#include <vector>

#include "platform/windows/com_error.h"
#include "platform/windows/counted.h"

namespace iqrx::platform::windows {

namespace {

// The process's atoms are the table of names: an atom is a name's id forever.
std::string NameOf(DISPID id) {
    std::array<wchar_t, 256> name{};
    const UINT length = GetAtomNameW(static_cast<ATOM>(id), name.data(), name.size());
    return Utf8({name.data(), length});
}

// Stores a value where a by-reference argument points, as that place's type.
void Store(const Value& value, VARIANT& reference) {
    if (reference.vt == (VT_BYREF | VT_VARIANT)) return ToVariant(value, *reference.pvarVal);
    const auto type = static_cast<VARTYPE>(reference.vt & ~VT_BYREF);
    Variant converted;
    ToVariant(value, converted);
    Check(VariantChangeType(&converted, &converted, 0, type), "");
    // What the place held goes with `converted`.
    const auto is = [&](auto... types) { return ((type == types) || ...); };
    if (is(VT_BSTR)) return std::swap(*reference.pbstrVal, converted.bstrVal);
    if (is(VT_DISPATCH, VT_UNKNOWN)) return std::swap(*reference.ppunkVal, converted.punkVal);
    if (is(VT_BOOL, VT_I2)) return std::swap(*reference.piVal, converted.iVal);
    if (is(VT_UI1)) return std::swap(*reference.pbVal, converted.bVal);
    if (is(VT_I4, VT_R4)) return std::swap(*reference.plVal, converted.lVal);
    if (is(VT_R8, VT_DATE)) return std::swap(*reference.pdblVal, converted.dblVal);
    RaiseRuntimeError(kTypeMismatch);
}

class DispatchAdapter final : public Counted<IDispatch> {
public:
    explicit DispatchAdapter(ObjectRef object) : object_(std::move(object)) {}
    const ObjectRef& Inside() const { return object_; }

    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override {
        *count = 0;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return DISP_E_BADINDEX; }
    // Every name has an id, the same for all objects of the process, because an object says only when it is
    // called whether it has the member.
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) override {
        for (UINT i = 1; i < count; ++i) ids[i] = DISPID_UNKNOWN;
        if (count == 0) return S_OK;
        const ATOM atom = AddAtomW(names[0]);
        ids[0] = atom == 0 ? DISPID_UNKNOWN : atom;
        return atom == 0 || count > 1 ? DISP_E_UNKNOWNNAME : S_OK;
    }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* parameters,
                                     VARIANT* result, EXCEPINFO* exception, UINT*) override {
        const std::string member = NameOf(id);
        if (member.empty()) return DISP_E_MEMBERNOTFOUND;
        // The member may let go of the last reference from outside.
        const auto alive = ComRef<DispatchAdapter>::Share(this);
        try {
            if ((flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) == 0)
                Call(member, *parameters, result);
            else if (parameters->cArgs == 1)
                object_->Set(member, FromVariant(parameters->rgvarg[0]));
            else
                RaiseRuntimeError(kWrongArgumentCount);
            return S_OK;
        } catch (...) {
            const RuntimeError error = CurrentError();
            if (exception == nullptr) return ResultOf(error);
            FillException(error, *exception);
            return DISP_E_EXCEPTION;
        }
    }

private:
    void Call(const std::string& member, const DISPPARAMS& parameters, VARIANT* result) {
        std::vector<Argument> arguments(parameters.cArgs);
        for (UINT i = 0; i < parameters.cArgs; ++i) {
            const VARIANT& passed = parameters.rgvarg[parameters.cArgs - 1 - i];
            arguments[i] = {FromVariant(passed), (passed.vt & VT_BYREF) != 0};
        }
        const std::vector<Argument> received = arguments;
        const Value returned = object_->Invoke(member, arguments);
        for (UINT i = 0; i < parameters.cArgs; ++i)
            if (arguments[i].byReference && arguments[i].value != received[i].value)
                Store(arguments[i].value, parameters.rgvarg[parameters.cArgs - 1 - i]);
        if (result != nullptr) ToVariant(returned, *result);
    }

    ObjectRef object_;
};

}  // namespace

ComRef<IDispatch> AdapterAround(ObjectRef object) {
    return ComRef<IDispatch>::Adopt(new DispatchAdapter(std::move(object)));
}

ObjectRef ObjectInside(IDispatch* dispatch) {
    // Told by its method table: asking for an interface would be a call into another process for most
    // objects.
    static const void* const ours = MethodTable(AdapterAround(nullptr).Get());
    if (dispatch == nullptr || MethodTable(dispatch) != ours) return nullptr;
    return static_cast<DispatchAdapter*>(dispatch)->Inside();
}

}  // namespace iqrx::platform::windows
