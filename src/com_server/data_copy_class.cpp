#include "com_server/class_factory.h"
#include "com_server/com_class.h"
#include "com_server/connection_point.h"
#include "control/cls_data_copy.h"
#include "hosting/dispatch.h"
#include "platform/conversions.h"
#include "platform/date.h"
#include "platform/windows/com_object.h"
#include "tables/calendars/calendars.h"

namespace iqrx::hosting::windows {

using platform::Integer;
using platform::RuntimeError;
using platform::windows::Bstr;
using platform::windows::FromBstr;
using platform::windows::FromVariant;
using platform::windows::ObjectOf;

namespace {

Integer PlatformOf(const VARIANT& databasePlatform) {
    return platform::ToInteger(FromVariant(databasePlatform));
}

class DataCopyClass final : public ComClass<_clsDataCopy, IConnectionPointContainer>,
                            private control::DataCopyEvents {
public:
    DataCopyClass(ServerLifetime& lifetime, const TypeLibrary& library, ComRequests& requests)
        : ComClass(lifetime, library, __uuidof(::clsDataCopy), __uuidof(__clsDataCopy)),
          requests_(requests),
          events_(*this, __uuidof(__clsDataCopy)),
          dataCopy_(requests.Process(), Tables(), Calendars(), *this) {}

    HRESULT STDMETHODCALLTYPE StartDataCopy(BSTR ConnectionString, BSTR LocalDatabase, short TableID,
                                            short SyncMethod, BSTR LogFilePath, BSTR BOWBusComponent,
                                            VARIANT DatabasePlatform) override {
        control::CopyRequest request;
        return Method(
            [&] {
                request = RequestOf(ConnectionString, LocalDatabase, TableID, SyncMethod, LogFilePath,
                                    BOWBusComponent);
                Serve(request, DatabasePlatform);
            },
            [&](const RuntimeError& error) {
                // While this object's own request goes on, its listeners would take the failure for that one's.
                if (requests_.Runs(this))
                    requests_.LogRequest(request, error);
                else
                    Refuse(request, error);
            });
    }

    HRESULT STDMETHODCALLTYPE CopyAllTables(BSTR ConnectionString, BSTR LocalDatabase, short SyncMethod,
                                            BSTR LogFilePath, BSTR BOWBusComponent,
                                            VARIANT DatabasePlatform) override {
        control::CopyRequest request;
        return Method(
            [&] {
                request = RequestOf(ConnectionString, LocalDatabase, control::kAllTables, SyncMethod,
                                    LogFilePath, BOWBusComponent);
                const ComRequests::Turn turn(requests_, this);
                request.databasePlatform = PlatformOf(DatabasePlatform);
                dataCopy_.CopyAllTables(request);
            },
            [&](const RuntimeError& error) { requests_.LogRequest(request, error); });
    }

    HRESULT STDMETHODCALLTYPE FormatFailedMessage(BSTR Title, BSTR Text, BSTR* Result) override {
        return Call([&] {
            std::string result;
            dataCopy_.FormatFailedMessage(FromBstr(Title), FromBstr(Text), result);
            SysFreeString(std::exchange(*Result, Bstr(result).Detach()));
        });
    }

    HRESULT STDMETHODCALLTYPE getEmployeeCalenderList(IDispatch** objCalList) override {
        return Call([&] {
            if (objCalList == nullptr || *objCalList == nullptr)
                platform::RaiseRuntimeError(platform::kObjectNotSet, "objCalList");
            const auto list = ObjectOf(ComRef<IDispatch>::Share(*objCalList));
            tables::getEmployeeCalenderList(
                dataCopy_.Run(), [&](const std::string& code) { platform::Call(*list, "Add", code); });
        });
    }

    HRESULT STDMETHODCALLTYPE CreateCalcodesFile() override {
        return Call([&] { tables::CreateCalcodesFile(NamedRun()); });
    }

    HRESULT STDMETHODCALLTYPE WriteCalcode(VARIANT sCalCode) override {
        return Call([&] { tables::WriteCalcode(NamedRun(), FromVariant(sCalCode)); });
    }

    HRESULT STDMETHODCALLTYPE CloseCalcodesFile() override {
        return Call([&] { tables::CloseCalcodesFile(NamedRun()); });
    }

    HRESULT STDMETHODCALLTYPE EnumConnectionPoints(IEnumConnectionPoints** enumerator) override {
        return ConnectionPointEnumerator::Create(
            enumerator, events_, [&](ConnectionPointEnumerator::List& list) {
                list.push_back([this] { return ComRef<IConnectionPoint>::Share(&events_).Detach(); });
            });
    }

    HRESULT STDMETHODCALLTYPE FindConnectionPoint(REFIID iid, IConnectionPoint** point) override {
        const bool known = iid == __uuidof(__clsDataCopy);
        *point = known ? &events_ : nullptr;
        if (!known) return CONNECT_E_NOCONNECTION;
        events_.AddRef();
        return S_OK;
    }

protected:
    void* Find(REFIID iid) override {
        if (iid == IID_IConnectionPointContainer) return static_cast<IConnectionPointContainer*>(this);
        return ComClass::Find(iid);
    }

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

    void Serve(control::CopyRequest& request, const VARIANT& databasePlatform) {
        const ComRequests::Turn turn(requests_, this);
        try {
            request.databasePlatform = PlatformOf(databasePlatform);
            requests_.LoadCatalogOf(request);
        } catch (...) {
            return Refuse(request, platform::CurrentError());
        }
        control::Process& process = requests_.Process();
        control::RunWitness* const witness = process.witness;
        if (witness) witness->RunBegins(request, control::TableOf(process.catalog, request));
        dataCopy_.StartDataCopy(request);
        if (witness) witness->RunEnded(dataCopy_.LastOutcome(), process.runLog.FirstError());
    }

    // A client that waits for the outcome hears of the failure as of any other; the log that names its cause
    // is the request error log, since the run has none yet.
    void Refuse(const control::CopyRequest& request, const RuntimeError& error) {
        requests_.LogRequest(request, error);
        const platform::Machine& machine = requests_.Process().machine;
        const std::string log = runtime::RequestErrorLog(machine, request.logFilePath);
        DataCopyError(platform::TimeOfDay(machine.clock.Now()), request.tableId, -1,
                      "DataCopy Failed, see logfile '" + log + "' for details");
        DataCopydone();
    }

    // A method without a request of its own.
    template <class Body>
    HRESULT Call(Body body) {
        return Method(body, [&](const platform::RuntimeError& error) { requests_.LogCall(error); });
    }

    // Raises RuntimeError before the first run, whose log the codes file is named after.
    control::CopyRun& NamedRun() {
        if (requests_.Process().runLog.LogFileName().empty())
            platform::RaiseRuntimeError(platform::kObjectNotSet, "no run has named the calendar-codes file");
        return dataCopy_.Run();
    }

    ComRequests& requests_;
    ConnectionPoint events_;
    control::clsDataCopy dataCopy_;
};

}  // namespace

ComRef<IDispatch> CreateDataCopy(ServerLifetime& lifetime, const TypeLibrary& library, ComRequests& requests) {
    return ComRef<IDispatch>::Adopt(new DataCopyClass(lifetime, library, requests));
}

}  // namespace iqrx::hosting::windows
