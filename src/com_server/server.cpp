#include "com_server/server.h"

#include "com_server/offer.h"
#include "platform/windows/kept_interface.h"

namespace iqrx::hosting::windows {

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

// Those that every client calls through.
void KeepInterfaces(ServerLifetime& lifetime) {
    platform::windows::KeepDispatchInterfaces();
    const auto factory = platform::windows::ComRef<ClassFactory>::Adopt(new ClassFactory(lifetime, {}));
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
