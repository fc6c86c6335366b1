#include "hosting/windows/server.h"

#include <optional>

#include "hosting/windows/class_factory.h"
#include "hosting/windows/data_copy_class.h"
#include "hosting/windows/handler_class.h"

namespace iqrx::hosting::windows {

using platform::windows::ComRef;

namespace {

// COM starts a process for a client that is waiting; one that has not come by then is gone.
constexpr UINT kClientLimitMilliseconds = 120'000;

class Offer {
public:
    Offer(ServerLifetime& lifetime, ComRequests& requests)
        : lifetime_(lifetime),
          requests_(requests),
          handler_(__uuidof(::clsDataCopyHandler), Factory<HandlerClass>()),
          dataCopy_(__uuidof(::clsDataCopy), Factory<DataCopyClass>()) {}

    bool Taken() const { return taken_; }

private:
    template <class Class>
    ComRef<ClassFactory> Factory() {
        return ComRef<ClassFactory>::Adopt(new ClassFactory(lifetime_, [this]() -> IUnknown* {
            auto* object = new Class(lifetime_, library_, requests_);
            taken_ = true;
            return static_cast<IDispatch*>(object);
        }));
    }

    ServerLifetime& lifetime_;
    ComRequests& requests_;
    TypeLibrary library_;
    bool taken_ = false;
    SingleUseRegistration handler_;
    SingleUseRegistration dataCopy_;
};

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

}  // namespace

void RunServer(control::Process& process) {
    ServerLifetime lifetime;
    ComRequests requests(process);
    const Offer offer(lifetime, requests);
    RunMessages(offer);
}

}  // namespace iqrx::hosting::windows
