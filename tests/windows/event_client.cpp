// A client of clsDataCopy that hears its events and prints them, one a line.
//
//     event_client CONNECTION TABLEID METHOD LOGDIRECTORY RUNPARAMETER
#include <iostream>

#include "platform/conversions.h"
#include "platform/date.h"
#include "platform/error.h"
#include "platform/windows/apartment.h"
#include "platform/windows/com_error.h"
#include "platform/windows/com_object.h"
// After com.h, whose types it uses.
#include <ocidl.h>

namespace iqrx::testing {
namespace {

using namespace platform;
using platform::windows::Check;
using platform::windows::ComRef;

// The interface of the events, as the type library gives it.
constexpr IID kEvents = {0x649dbb91, 0x15ed, 0x492f, {0x95, 0x91, 0x3d, 0xeb, 0x54, 0xe3, 0x92, 0x58}};

class Sink final : public IDispatch {
public:
    virtual ~Sink() = default;
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
        *object = iid == IID_IUnknown || iid == IID_IDispatch || iid == kEvents ? this : nullptr;
        return *object != nullptr ? S_OK : E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return 2; }  // lives on main's stack
    ULONG STDMETHODCALLTYPE Release() override { return 1; }
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS* parameters, VARIANT*,
                                     EXCEPINFO*, UINT*) override {
        constexpr const char* kNames[] = {"",
                                          "DataCopyStarted",
                                          "DataCopyError",
                                          "DataCopyComplete",
                                          "DataCopyAlreadyInProgress",
                                          "DataCopydone"};
        std::cout << kNames[id];
        for (UINT i = parameters->cArgs; i-- > 0;) {
            const VARIANT& argument = parameters->rgvarg[i];
            std::cout << " vt" << argument.vt;
            if (argument.vt != VT_DATE)
                std::cout << '=' << ToText(windows::FromVariant(argument, windows::ObjectOf));
        }
        std::cout << std::endl;
        return S_OK;
    }
};

void Run(char** arguments) {
    ComRef<IConnectionPoint> point;  // let go of last, not straight after a call of it; see KeepInterface
    windows::ComObjectFactory factory;
    const ObjectRef copy = factory.CreateObject("iQRXyQRXSync.clsDataCopy");
    const auto container = dynamic_cast<windows::ComObject&>(*copy).Dispatch().As<IConnectionPointContainer>();
    Check(container->FindConnectionPoint(kEvents, point.Put()), "FindConnectionPoint");
    Sink sink;
    DWORD cookie = 0;
    Check(point->Advise(&sink, &cookie), "Advise");
    Call(*copy, "StartDataCopy", std::string(arguments[1]), std::string(),
         ToInteger(std::string(arguments[2])), ToInteger(std::string(arguments[3])),
         std::string(arguments[4]), std::string(arguments[5]), Integer{1});
    Check(point->Unadvise(cookie), "Unadvise");
}

}  // namespace
}  // namespace iqrx::testing

int main(int, char** argv) {
    using namespace iqrx;
    int exitCode = 0;
    try {
        platform::windows::EnterApartment();
        platform::windows::KeepDispatchInterfaces();
        testing::Run(argv);
    } catch (...) {
        std::cerr << platform::CurrentError().description << std::endl;
        exitCode = 1;
    }
    platform::windows::LeaveProcess(exitCode);
}
