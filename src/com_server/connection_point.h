// A connection point: the event sinks of one object.
#pragma once

#include <map>
#include <vector>

#include "com_server/enumerator.h"
#include "platform/value.h"

namespace iqrx::hosting::windows {

// What the enumerators keep.
struct KeptConnection {
    platform::windows::ComRef<IDispatch> sink;
    DWORD cookie;
    CONNECTDATA HandOut() const { return {platform::windows::ComRef(sink).Detach(), cookie}; }
};
struct KeptConnectionPoint {
    platform::windows::ComRef<IConnectionPoint> point;
    LPCONNECTIONPOINT HandOut() const { return platform::windows::ComRef(point).Detach(); }
};
using ConnectionEnumerator = Enumerator<IEnumConnections, CONNECTDATA, KeptConnection>;
using ConnectionPointEnumerator = Enumerator<IEnumConnectionPoints, LPCONNECTIONPOINT, KeptConnectionPoint>;

// Lives inside its object and shares the object's reference count.
class ConnectionPoint final : public IConnectionPoint {
public:
    ConnectionPoint(IConnectionPointContainer& owner, REFIID eventsId) : owner_(owner), eventsId_(eventsId) {}
    ConnectionPoint(const ConnectionPoint&) = delete;
    ConnectionPoint& operator=(const ConnectionPoint&) = delete;

    // Calls every sink, in the order in which they connected. A sink that fails or is gone changes nothing
    // for the run or for the other sinks.
    void Raise(DISPID event, const std::vector<platform::Value>& arguments);

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override;
    ULONG STDMETHODCALLTYPE AddRef() override { return owner_.AddRef(); }
    ULONG STDMETHODCALLTYPE Release() override { return owner_.Release(); }

    HRESULT STDMETHODCALLTYPE GetConnectionInterface(IID* iid) override;
    HRESULT STDMETHODCALLTYPE GetConnectionPointContainer(IConnectionPointContainer** container) override;
    HRESULT STDMETHODCALLTYPE Advise(IUnknown* sink, DWORD* cookie) override;
    HRESULT STDMETHODCALLTYPE Unadvise(DWORD cookie) override;
    HRESULT STDMETHODCALLTYPE EnumConnections(IEnumConnections** connections) override;

private:
    IConnectionPointContainer& owner_;
    IID eventsId_;
    std::map<DWORD, platform::windows::ComRef<IDispatch>> sinks_;
    DWORD lastCookie_ = 0;
};

}  // namespace iqrx::hosting::windows
