#include "com_server/handler_class.h"

namespace iqrx::hosting::windows {

HandlerClass::HandlerClass(ServerLifetime& lifetime, const TypeLibrary& library, ComRequests& requests)
    : ComClass(lifetime, library, __uuidof(::clsDataCopyHandler), IID_NULL),
      requests_(requests),
      handler_(requests.Process()) {}

HRESULT HandlerClass::HandleDataCopy(BSTR ConnString, BSTR DBName, short TableID, short SyncMethod,
                                     BSTR LogDirectory, BSTR BusComponent, LONG DatabasePlatform) {
    control::CopyRequest request;
    return Method(
        [&] {
            request = RequestOf(ConnString, DBName, TableID, SyncMethod, LogDirectory, BusComponent,
                                DatabasePlatform);
            const ComRequests::Turn turn(requests_, this);
            requests_.LoadCatalogOf(request);
            handler_.HandleDataCopy(request);
        },
        [&](const platform::RuntimeError& error) { requests_.LogRequest(request, error); });
}

}  // namespace iqrx::hosting::windows
