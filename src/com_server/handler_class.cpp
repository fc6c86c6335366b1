#include "com_server/class_factory.h"
#include "com_server/com_class.h"
#include "hosting/cls_data_copy_handler.h"

namespace iqrx::hosting::windows {

namespace {

class HandlerClass final : public ComClass<_clsDataCopyHandler> {
public:
    HandlerClass(ServerLifetime& lifetime, const TypeLibrary& library, ComRequests& requests)
        : ComClass(lifetime, library, __uuidof(::clsDataCopyHandler), IID_NULL),
          requests_(requests),
          handler_(requests.Process()) {}

    HRESULT STDMETHODCALLTYPE HandleDataCopy(BSTR ConnString, BSTR DBName, short TableID, short SyncMethod,
                                             BSTR LogDirectory, BSTR BusComponent,
                                             LONG DatabasePlatform) override {
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

private:
    ComRequests& requests_;
    hosting::clsDataCopyHandler handler_;
};

}  // namespace

ComRef<IDispatch> CreateHandler(ServerLifetime& lifetime, const TypeLibrary& library, ComRequests& requests) {
    return ComRef<IDispatch>::Adopt(new HandlerClass(lifetime, library, requests));
}

}  // namespace iqrx::hosting::windows
