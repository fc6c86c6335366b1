#include "platform/windows/com_object.h"

#include <type_traits>

#include "platform/date.h"
#include "platform/error.h"
#include "platform/number.h"
#include "platform/windows/com_error.h"

namespace iqrx::platform::windows {

namespace {

class Fill {
public:
    explicit Fill(VARIANT& variant) : variant_(variant) {}

    void operator()(const Empty&) const { variant_.vt = VT_EMPTY; }
    void operator()(const Null&) const { variant_.vt = VT_NULL; }
    void operator()(Boolean flag) const {
        Set(VT_BOOL, variant_.boolVal, flag ? VARIANT_TRUE : VARIANT_FALSE);
    }
    void operator()(Byte number) const { Set(VT_UI1, variant_.bVal, number); }
    void operator()(Integer number) const { Set(VT_I2, variant_.iVal, number); }
    void operator()(Long number) const { Set(VT_I4, variant_.lVal, number); }
    void operator()(Single number) const { Set(VT_R4, variant_.fltVal, number); }
    void operator()(Double number) const { Set(VT_R8, variant_.dblVal, number); }
    void operator()(Date moment) const { Set(VT_DATE, variant_.date, ToAutomationDate(moment)); }
    void operator()(const std::string& text) const { Set(VT_BSTR, variant_.bstrVal, Bstr(text).Detach()); }
    void operator()(const ObjectRef& object) const {
        Set(VT_DISPATCH, variant_.pdispVal, object ? DispatchOf(object).Detach() : nullptr);
    }

private:
    // The type last: what raises before it leaves the variant empty.
    template <class Member>
    void Set(VARENUM type, Member& member, std::type_identity_t<Member> value) const {
        member = value;
        variant_.vt = static_cast<VARTYPE>(type);
    }

    VARIANT& variant_;
};

Value AsDouble(const VARIANT& variant) {
    Variant converted;
    Check(VariantChangeTypeEx(&converted, const_cast<VARIANT*>(&variant), LOCALE_INVARIANT, 0, VT_R8), "");
    return converted.dblVal;
}

Value AsObject(IUnknown* unknown, const MakeObject& makeObject) {
    if (unknown == nullptr) return ObjectRef();
    auto dispatch = ComRef<IUnknown>::Share(unknown).As<IDispatch>();
    if (!dispatch) RaiseRuntimeError(kTypeMismatch);
    return makeObject(std::move(dispatch));
}

}  // namespace

void ToVariant(const Value& value, VARIANT& variant) {
    VariantClear(&variant);
    std::visit(Fill(variant), value);
}

Value FromVariant(const VARIANT& variant, const MakeObject& makeObject) {
    const auto is = [&](auto... types) { return ((variant.vt == types) || ...); };
    if (is(VT_EMPTY)) return Empty{};
    if (is(VT_NULL)) return Null{};
    if (is(VT_BOOL)) return variant.boolVal != VARIANT_FALSE;
    if (is(VT_UI1)) return variant.bVal;
    if (is(VT_I1)) return static_cast<Integer>(variant.cVal);
    if (is(VT_I2)) return variant.iVal;
    if (is(VT_UI2)) return static_cast<Long>(variant.uiVal);
    if (is(VT_I4, VT_INT)) return static_cast<Long>(variant.lVal);
    if (is(VT_UI4, VT_UINT)) return WholeValue(variant.ulVal);
    if (is(VT_I8)) return WholeValue(variant.llVal);
    if (is(VT_R4)) return variant.fltVal;
    if (is(VT_R8)) return variant.dblVal;
    if (is(VT_UI8, VT_CY, VT_DECIMAL)) return AsDouble(variant);
    if (is(VT_DATE)) return FromAutomationDate(variant.date);
    if (is(VT_BSTR)) return FromBstr(variant.bstrVal);
    if (is(VT_DISPATCH, VT_UNKNOWN)) return AsObject(variant.punkVal, makeObject);
    if ((variant.vt & VT_BYREF) == 0) RaiseRuntimeError(kTypeMismatch);
    Variant followed;
    Check(VariantCopyInd(&followed, const_cast<VARIANT*>(&variant)), "");
    return FromVariant(followed, makeObject);
}

}  // namespace iqrx::platform::windows
