// The public class clsDataCopy with its events.
#pragma once

#include "com_server/com_class.h"
#include "com_server/com_requests.h"
#include "com_server/connection_point.h"
#include "control/cls_data_copy.h"

namespace iqrx::hosting::windows {

class DataCopyClass final : public ComClass<_clsDataCopy, IConnectionPointContainer>,
                            private control::DataCopyEvents {
public:
    DataCopyClass(ServerLifetime& lifetime, const TypeLibrary& library, ComRequests& requests);

    HRESULT STDMETHODCALLTYPE StartDataCopy(BSTR ConnectionString, BSTR LocalDatabase, short TableID,
                                            short SyncMethod, BSTR LogFilePath, BSTR BOWBusComponent,
                                            VARIANT DatabasePlatform) override;
    HRESULT STDMETHODCALLTYPE CopyAllTables(BSTR ConnectionString, BSTR LocalDatabase, short SyncMethod,
                                            BSTR LogFilePath, BSTR BOWBusComponent,
                                            VARIANT DatabasePlatform) override;
    HRESULT STDMETHODCALLTYPE FormatFailedMessage(BSTR Title, BSTR Text, BSTR* Result) override;
    HRESULT STDMETHODCALLTYPE getEmployeeCalenderList(IDispatch** objCalList) override;
    HRESULT STDMETHODCALLTYPE CreateCalcodesFile() override;
    HRESULT STDMETHODCALLTYPE WriteCalcode(VARIANT sCalCode) override;
    HRESULT STDMETHODCALLTYPE CloseCalcodesFile() override;

    HRESULT STDMETHODCALLTYPE EnumConnectionPoints(IEnumConnectionPoints** enumerator) override;
    HRESULT STDMETHODCALLTYPE FindConnectionPoint(REFIID iid, IConnectionPoint** point) override;

protected:
    void* Find(REFIID iid) override;

private:
    // The members of the events' interface.
    enum Event : DISPID { kStarted = 1, kError, kComplete, kAlreadyInProgress, kDone };
    void DataCopyStarted(platform::Date iTime, platform::Integer iTableID) override {
        events_.Raise(kStarted, {iTime, iTableID});
    }
    void DataCopyError(platform::Date iTime, platform::Integer iTableID, platform::Integer ieNumber,
                       const std::string& ieMessage) override {
        events_.Raise(kError, {iTime, iTableID, ieNumber, ieMessage});
    }
    void DataCopyComplete(platform::Date iTime, platform::Integer iTableID, platform::Long icount,
                          platform::Long ucount, platform::Long dcount) override {
        events_.Raise(kComplete, {iTime, iTableID, icount, ucount, dcount});
    }
    void DataCopyAlreadyInProgress(platform::Date iTime, platform::Integer iTableID) override {
        events_.Raise(kAlreadyInProgress, {iTime, iTableID});
    }
    void DataCopydone() override { events_.Raise(kDone, {}); }

    void Serve(control::CopyRequest& request, const VARIANT& databasePlatform);
    void Refuse(const control::CopyRequest& request, const platform::RuntimeError& error);
    // A method without a request of its own.
    template <class Body>
    HRESULT Call(Body body) {
        return Method(body, [&](const platform::RuntimeError& error) { requests_.LogCall(error); });
    }
    // Raises RuntimeError before the first run, whose log the codes file is named after.
    control::CopyRun& NamedRun();

    ComRequests& requests_;
    ConnectionPoint events_;
    control::clsDataCopy dataCopy_;
};

}  // namespace iqrx::hosting::windows
