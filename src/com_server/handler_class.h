// The public class clsDataCopyHandler.
#pragma once

#include "com_server/com_class.h"
#include "com_server/com_requests.h"
#include "hosting/cls_data_copy_handler.h"

namespace iqrx::hosting::windows {

class HandlerClass final : public ComClass<_clsDataCopyHandler> {
public:
    HandlerClass(ServerLifetime& lifetime, const TypeLibrary& library, ComRequests& requests);

    HRESULT STDMETHODCALLTYPE HandleDataCopy(BSTR ConnString, BSTR DBName, short TableID, short SyncMethod,
                                             BSTR LogDirectory, BSTR BusComponent,
                                             LONG DatabasePlatform) override;

private:
    ComRequests& requests_;
    hosting::clsDataCopyHandler handler_;
};

}  // namespace iqrx::hosting::windows
