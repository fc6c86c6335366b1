#include "com_server/connection_point.h"

#include "platform/windows/variant.h"

namespace iqrx::hosting::windows {

using platform::windows::ComRef;
using platform::windows::Variant;

void ConnectionPoint::Raise(DISPID event, const std::vector<platform::Value>& arguments) {
    std::vector<Variant> passed(arguments.size());  // last first
    for (std::size_t i = 0; i < arguments.size(); ++i)
        platform::windows::ToVariant(arguments[i], passed[arguments.size() - 1 - i]);
    DISPPARAMS parameters{passed.data(), nullptr, static_cast<UINT>(passed.size()), 0};
    const auto sinks = sinks_;  // a sink may disconnect while it is called
    for (const auto& [cookie, sink] : sinks)
        sink->Invoke(event, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &parameters, nullptr, nullptr,
                     nullptr);
}

HRESULT ConnectionPoint::QueryInterface(REFIID iid, void** object) {
    const bool known = iid == IID_IUnknown || iid == IID_IConnectionPoint;
    *object = known ? this : nullptr;
    if (!known) return E_NOINTERFACE;
    AddRef();
    return S_OK;
}

HRESULT ConnectionPoint::GetConnectionInterface(IID* iid) {
    *iid = eventsId_;
    return S_OK;
}

HRESULT ConnectionPoint::GetConnectionPointContainer(IConnectionPointContainer** container) {
    owner_.AddRef();
    *container = &owner_;
    return S_OK;
}

HRESULT ConnectionPoint::Advise(IUnknown* sink, DWORD* cookie) {
    *cookie = 0;
    if (sink == nullptr) return E_POINTER;
    // A sink has the events' interface; what is called through is its IDispatch.
    ComRef<IDispatch> events;
    if (FAILED(sink->QueryInterface(eventsId_, events.PutVoid())) &&
        FAILED(sink->QueryInterface(IID_IDispatch, events.PutVoid())))
        return CONNECT_E_CANNOTCONNECT;
    *cookie = ++lastCookie_;
    sinks_.emplace(lastCookie_, std::move(events));
    return S_OK;
}

HRESULT ConnectionPoint::Unadvise(DWORD cookie) {
    return sinks_.erase(cookie) == 1 ? S_OK : CONNECT_E_NOCONNECTION;
}

HRESULT ConnectionPoint::EnumConnections(IEnumConnections** connections) {
    if (connections == nullptr) return E_POINTER;
    *connections = nullptr;
    return platform::windows::Guarded([&] {
        const auto sinks = std::make_shared<std::vector<KeptConnection>>();
        for (const auto& [cookie, sink] : sinks_) sinks->push_back({sink, cookie});
        *connections = ConnectionEnumerator::Create(sinks, ComRef<IUnknown>::Share(this));
    });
}

}  // namespace iqrx::hosting::windows
