#include "platform/windows/com_object.h"

#include <gtest/gtest.h>

#include <functional>

#include "platform/conversions.h"
#include "platform/error.h"
#include "platform/windows/com_error.h"
#include "support/apartment.h"

namespace iqrx::platform::windows {
namespace {

using Members = std::map<std::string, std::function<Value(std::span<Argument>)>, std::less<>>;

// An object of the test's own, to be called through COM.
class Told : public Object {
public:
    explicit Told(Members members) : members_(std::move(members)) {}

    Value Invoke(std::string_view member, std::span<Argument> arguments) override {
        const auto found = members_.find(member);
        if (found == members_.end()) RaiseRuntimeError(kNoSuchMember, std::string(member));
        return found->second(arguments);
    }
    void Set(std::string_view member, const Value& value) override { set[std::string(member)] = value; }

    std::map<std::string, Value> set;

private:
    Members members_;
};

// Passes every call on and counts what it costs.
class CountingDispatch final : public IDispatch {
public:
    explicit CountingDispatch(ComRef<IDispatch> inner) : inner_(std::move(inner)) {}

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
        *object = iid == IID_IUnknown || iid == IID_IDispatch ? this : nullptr;
        if (*object != nullptr) AddRef();
        return *object != nullptr ? S_OK : E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++references; }
    ULONG STDMETHODCALLTYPE Release() override { return --references; }
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count, LCID locale,
                                            DISPID* ids) override {
        ++idsAsked;
        return inner_->GetIDsOfNames(iid, names, count, locale, ids);
    }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID iid, LCID locale, WORD flags, DISPPARAMS* parameters,
                                     VARIANT* result, EXCEPINFO* exception, UINT* wrong) override {
        ++invoked;
        return inner_->Invoke(id, iid, locale, flags, parameters, result, exception, wrong);
    }

    ULONG references = 0;
    int idsAsked = 0;
    int invoked = 0;

private:
    ComRef<IDispatch> inner_;
};

ObjectRef ThroughCom(ObjectRef object) {
    return std::make_shared<ComObject>(AdapterAround(std::move(object)));
}

Value Returned(const Value& value) {
    const auto object = ThroughCom(std::make_shared<Told>(
        Members{{"echo", [](std::span<Argument> arguments) { return arguments[0].value; }}}));
    return Call(*object, "echo", value);
}

TEST(ComObject, ValuesCrossACallWithTheirType) {
    const Value values[] = {Empty{},
                            Null{},
                            true,
                            false,
                            Byte{200},
                            Integer{-32768},
                            Long{2147483647},
                            Single{0.5F},
                            Double{-1234.5},
                            Date{1241683200},
                            std::string("Zürich 東京"),
                            std::string(),
                            ObjectRef()};
    for (const Value& value : values) EXPECT_EQ(Returned(value), value) << "index " << value.index();
}

TEST(ComObject, ATimeOfDayStaysOnTheZeroDay) {
    const Value time = Date{-25569LL * 86400 + 14 * 3600 + 3 * 60 + 7};
    EXPECT_EQ(Returned(time), time);
}

TEST(ComObject, AnObjectOfOursThatComesBackIsTheSameObject) {
    const auto own = std::make_shared<Told>(Members{});
    EXPECT_EQ(Returned(ObjectRef(own)), Value(ObjectRef(own)));
}

TEST(ComObject, ArgumentsArriveInTheirOrderAndByReferenceOnesBringTheirAnswerBack) {
    std::vector<Value> received;
    const auto object =
        ThroughCom(std::make_shared<Told>(Members{{"list", [&](std::span<Argument> arguments) -> Value {
                                                       for (const auto& argument : arguments)
                                                           received.push_back(argument.value);
                                                       arguments[1].value = Long{7};
                                                       arguments[2].value = std::string("Y");
                                                       arguments[3].value = Integer{5};
                                                       return Empty{};
                                                   }}}));
    Value callId = Long{0}, complete = std::string("N"), affected;

    Call(*object, "list", std::string("first"), ByRef{callId}, ByRef{complete}, ByRef{affected});

    EXPECT_EQ(received, (std::vector<Value>{std::string("first"), Long{0}, std::string("N"), Empty{}}));
    EXPECT_EQ(callId, Value(Long{7}));
    EXPECT_EQ(complete, Value(std::string("Y")));
    EXPECT_EQ(affected, Value(Integer{5}));
}

TEST(ComObject, AnObjectByReferenceCanBeReplacedOrLeft) {
    const auto other = std::make_shared<Told>(Members{{"name", [](auto) { return std::string("other"); }}});
    const auto object = ThroughCom(std::make_shared<Told>(Members{
        {"keep", [](auto) { return Empty{}; }}, {"replace", [&](std::span<Argument> arguments) -> Value {
                                                     arguments[0].value = ObjectRef(other);
                                                     return Empty{};
                                                 }}}));
    const ObjectRef manager = ThroughCom(std::make_shared<Told>(Members{}));
    Value passed = manager;

    Call(*object, "keep", ByRef{passed});
    EXPECT_EQ(passed, Value(manager));
    Call(*object, "replace", ByRef{passed});
    EXPECT_EQ(ToText(ToObject(passed)->Get("name")), "other");
}

TEST(ComObject, PropertiesAreSet) {
    const auto told = std::make_shared<Told>(Members{});
    const auto object = ThroughCom(told);

    object->Set("CommandTimeout", Long{0});
    object->Set("ActiveConnection", ObjectRef(told));

    EXPECT_EQ(told->set["CommandTimeout"], Value(Long{0}));
    EXPECT_EQ(told->set["ActiveConnection"], Value(ObjectRef(told)));
    told->set.clear();
}

TEST(ComObject, AnErrorKeepsNumberSourceAndDescription) {
    for (const std::int32_t number : {13, 1005, 462, -2147467259, -2147217900}) {
        const auto object = ThroughCom(std::make_shared<Told>(Members{
            {"fail", [&](auto) -> Value { throw RuntimeError(number, "Erp.Manager", "no such größe"); }}}));
        try {
            Call(*object, "fail");
            FAIL() << "no error for " << number;
        } catch (const RuntimeError& error) {
            EXPECT_EQ(error.number, number);
            EXPECT_EQ(error.source, "Erp.Manager");
            EXPECT_EQ(error.description, "no such größe");
        }
    }
}

TEST(ComObject, AnErrorsControlCharactersAreShownAsTheirCodes) {
    const auto object = ThroughCom(std::make_shared<Told>(
        Members{{"fail", [](auto) -> Value { throw RuntimeError(5, "Erp\x01", "first\r\nforged"); }}}));
    try {
        Call(*object, "fail");
        FAIL();
    } catch (const RuntimeError& error) {
        EXPECT_EQ(error.source, "Erp\\x01");
        EXPECT_EQ(error.description, "first\\x0D\\x0Aforged");
    }
}

TEST(ComObject, AMemberThatIsNotThereIsError438) {
    const auto object = ThroughCom(std::make_shared<Told>(Members{}));
    try {
        object->Get("getNothing");
        FAIL();
    } catch (const RuntimeError& error) {
        EXPECT_EQ(error.number, kNoSuchMember);
    }
}

TEST(ComObject, AGetterCostsOneInvokeAfterTheFirstRecord) {
    const auto record =
        std::make_shared<Told>(Members{{"getServiceType", [](auto) { return std::string("A"); }}});
    CountingDispatch first(AdapterAround(record)), second(AdapterAround(record));
    int next = 0;
    const auto enumerator = std::make_shared<ComObject>(AdapterAround(std::make_shared<Told>(
        Members{{"nextElement", [&](auto) -> Value {
                     auto& dispatch = next++ == 0 ? first : second;
                     return ObjectRef(std::make_shared<ComObject>(ComRef<IDispatch>::Share(&dispatch)));
                 }}})));

    ToObject(enumerator->Get("nextElement"))->Get("getServiceType");
    EXPECT_EQ(first.idsAsked, 1);
    const auto another = ToObject(enumerator->Get("nextElement"));
    another->Get("getServiceType");
    another->Get("getServiceType");

    EXPECT_EQ(second.idsAsked, 0);
    EXPECT_EQ(second.invoked, 2);
}

TEST(ComObject, ReleasesWhatItHolds) {
    CountingDispatch dispatch(AdapterAround(std::make_shared<Told>(Members{})));
    {
        const ObjectRef object = std::make_shared<ComObject>(ComRef<IDispatch>::Share(&dispatch));
        Returned(object);
    }
    EXPECT_EQ(dispatch.references, 0U);
}

TEST(ComObjectFactory, AnUnknownClassIsError429ThatNamesIt) {
    const Apartment apartment;
    try {
        ComObjectFactory().CreateObject("Orva.NoSuchClass");
        FAIL();
    } catch (const RuntimeError& error) {
        EXPECT_EQ(error.number, kCannotCreateObject);
        EXPECT_NE(error.description.find("Orva.NoSuchClass"), std::string::npos);
    }
}

TEST(Variants, WideNumbersAndDecimalsBecomeWhatHoldsThem) {
    const auto from = [](VARTYPE type, auto fill) {
        Variant variant;
        variant.vt = type;
        fill(variant);
        return FromVariant(variant);
    };
    EXPECT_EQ(from(VT_I8, [](VARIANT& v) { v.llVal = 5; }), Value(Long{5}));
    EXPECT_EQ(from(VT_I8, [](VARIANT& v) { v.llVal = 1LL << 40; }), Value(Double{1099511627776.0}));
    EXPECT_EQ(from(VT_UI4, [](VARIANT& v) { v.ulVal = 4000000000U; }), Value(Double{4000000000.0}));
    EXPECT_EQ(from(VT_CY, [](VARIANT& v) { v.cyVal.int64 = 12345; }), Value(Double{1.2345}));
    EXPECT_EQ(from(VT_DECIMAL,
                   [](VARIANT& v) {
                       VarDecFromR8(2.5, &v.decVal);
                       v.vt = VT_DECIMAL;
                   }),
              Value(Double{2.5}));
}

TEST(Variants, AnErrorValueOrAnArrayIsATypeMismatch) {
    Variant missing;
    missing.vt = VT_ERROR;
    missing.scode = DISP_E_PARAMNOTFOUND;
    EXPECT_THROW(FromVariant(missing), RuntimeError);
    Variant array;
    array.vt = VT_ARRAY | VT_I4;
    array.parray = SafeArrayCreateVector(VT_I4, 0, 2);
    EXPECT_THROW(FromVariant(array), RuntimeError);
}

TEST(ComErrors, AServerThatIsGoneIsError462) {
    for (const HRESULT result : {HRESULT_FROM_WIN32(RPC_S_SERVER_UNAVAILABLE), HRESULT(RPC_E_DISCONNECTED),
                                 HRESULT_FROM_WIN32(RPC_S_CALL_FAILED)}) {
        const RuntimeError error = ErrorOfCall(result, nullptr, "nextElement");
        EXPECT_EQ(error.number, 462);
        EXPECT_EQ(error.description, "The remote server machine does not exist or is unavailable: nextElement");
    }
}

TEST(ComErrors, WhateverIsThrownBecomesAResultAndAnErrorObject) {
    EXPECT_EQ(Guarded([] {}), S_OK);
    EXPECT_EQ(Guarded([] { throw RuntimeError(13, "s", "d"); }), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(Guarded([] { throw std::bad_alloc(); }), E_OUTOFMEMORY);
    EXPECT_TRUE(FAILED(Guarded([] { throw 5; })));
    EXPECT_EQ(Guarded([] { throw RuntimeError(1005, "GetTVKFilter", "no filter"); }),
              static_cast<HRESULT>(0x800A03ED));
    ComRef<IErrorInfo> information;
    ASSERT_EQ(GetErrorInfo(0, information.Put()), S_OK);
    BSTR description = nullptr;
    information->GetDescription(&description);
    EXPECT_EQ(FromBstr(description), "no filter");
    SysFreeString(description);
}

}  // namespace
}  // namespace iqrx::platform::windows
