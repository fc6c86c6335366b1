#include "com_server/server.h"

#include "com_server/offer.h"
#include "platform/windows/apartment.h"

namespace iqrx::hosting::windows {

using platform::windows::Check;

namespace {

// COM starts a process for a client that is waiting; one that has not come by then is gone.
constexpr UINT kClientLimitMilliseconds = 120'000;

void RunMessages(const Offer& offer) {
    const UINT_PTR limit = SetTimer(nullptr, 0, kClientLimitMilliseconds, nullptr);
    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) > 0) {
        if (message.message == WM_TIMER && message.wParam == limit && !offer.Taken()) break;
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
    KillTimer(nullptr, limit);
}

class ComClassObjects final : public ClassObjects {
public:
    DWORD Register(REFCLSID classId, IUnknown* factory, DWORD use) override {
        DWORD entry = 0;
        Check(CoRegisterClassObject(classId, factory, CLSCTX_LOCAL_SERVER, use, &entry),
              "CoRegisterClassObject");
        return entry;
    }
    void Resume() override { Check(CoResumeClassObjects(), "CoResumeClassObjects"); }
    void Revoke(DWORD entry) noexcept override { CoRevokeClassObject(entry); }
    HRESULT CreateElsewhere(REFCLSID classId, REFIID iid, void** object) noexcept override {
        return CoCreateInstance(classId, nullptr, CLSCTX_LOCAL_SERVER, iid, object);
    }
};

// Those that every client calls through.
void KeepInterfaces(ServerLifetime& lifetime) {
    platform::windows::KeepDispatchInterfaces();
    const auto factory = ComRef<ClassFactory>::Adopt(new ClassFactory(lifetime, {}));
    platform::windows::KeepInterface(IID_IClassFactory, factory.Get());
}

}  // namespace

void RunServer(control::Process& process) {
    ComClassObjects classObjects;
    ServerLifetime lifetime;
    KeepInterfaces(lifetime);
    ComRequests requests(process);
    const Offer offer(classObjects, lifetime, requests);
    RunMessages(offer);
}

}  // namespace iqrx::hosting::windows
