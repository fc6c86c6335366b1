// A connection point: the event sinks of one object.
#pragma once

#include <map>
#include <vector>

#include "com_server/enumerator.h"
#include "platform/windows/com_object.h"

namespace iqrx::hosting::windows {

using ConnectionEnumerator = Enumerator<IEnumConnections, CONNECTDATA>;
using ConnectionPointEnumerator = Enumerator<IEnumConnectionPoints, LPCONNECTIONPOINT>;

// Lives inside its object and shares the object's reference count.
class ConnectionPoint final : public IConnectionPoint {
public:
    ConnectionPoint(IConnectionPointContainer& owner, REFIID eventsId) : owner_(owner), eventsId_(eventsId) {}
    ConnectionPoint(const ConnectionPoint&) = delete;
    ConnectionPoint& operator=(const ConnectionPoint&) = delete;

    // Calls every sink, in the order in which they connected. A sink that fails or is gone changes nothing
    // for the run or for the other sinks.
    void Raise(DISPID event, const std::vector<platform::Value>& arguments) {
        std::vector<platform::windows::Variant> passed(arguments.size());  // last first
        for (std::size_t i = 0; i < arguments.size(); ++i)
            platform::windows::ToVariant(arguments[i], passed[arguments.size() - 1 - i]);
        DISPPARAMS parameters{passed.data(), nullptr, static_cast<UINT>(passed.size()), 0};
        const auto sinks = sinks_;  // a sink may disconnect while it is called
        for (const auto& [cookie, sink] : sinks)
            sink->Invoke(event, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &parameters, nullptr, nullptr,
                         nullptr);
    }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
        const bool known = iid == IID_IUnknown || iid == IID_IConnectionPoint;
        *object = known ? this : nullptr;
        if (!known) return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return owner_.AddRef(); }
    ULONG STDMETHODCALLTYPE Release() override { return owner_.Release(); }

    HRESULT STDMETHODCALLTYPE GetConnectionInterface(IID* iid) override {
        *iid = eventsId_;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetConnectionPointContainer(IConnectionPointContainer** container) override {
        owner_.AddRef();
        *container = &owner_;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Advise(IUnknown* sink, DWORD* cookie) override {
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
    HRESULT STDMETHODCALLTYPE Unadvise(DWORD cookie) override {
        return sinks_.erase(cookie) == 1 ? S_OK : CONNECT_E_NOCONNECTION;
    }
    HRESULT STDMETHODCALLTYPE EnumConnections(IEnumConnections** connections) override {
        return ConnectionEnumerator::Create(connections, *this, [&](ConnectionEnumerator::List& list) {
            for (const auto& [cookie, sink] : sinks_)
                list.push_back([sink = sink, cookie = cookie] {
                    return CONNECTDATA{ComRef(sink).Detach(), cookie};
                });
        });
    }

private:
    IConnectionPointContainer& owner_;
    IID eventsId_;
    std::map<DWORD, ComRef<IDispatch>> sinks_;
    DWORD lastCookie_ = 0;
};

}  // namespace iqrx::hosting::windows
