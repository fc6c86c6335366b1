#include "com_server/data_copy_class.h"

#include "hosting/dispatch.h"
#include "platform/conversions.h"
#include "platform/date.h"
#include "platform/windows/com_object.h"
#include "platform/windows/variant.h"
#include "tables/calendars/calendars.h"

namespace iqrx::hosting::windows {

using platform::Integer;
using platform::RuntimeError;
using platform::windows::Bstr;
using platform::windows::ComRef;
using platform::windows::FromBstr;
using platform::windows::FromVariant;
using platform::windows::ObjectOf;

namespace {

Integer PlatformOf(const VARIANT& databasePlatform) {
    return platform::ToInteger(FromVariant(databasePlatform, ObjectOf));
}

}  // namespace

DataCopyClass::DataCopyClass(ServerLifetime& lifetime, const TypeLibrary& library, ComRequests& requests)
    : ComClass(lifetime, library, __uuidof(::clsDataCopy), __uuidof(__clsDataCopy)),
      requests_(requests),
      events_(*this, __uuidof(__clsDataCopy)),
      dataCopy_(requests.Process(), Tables(), Calendars(), *this) {}

void* DataCopyClass::Find(REFIID iid) {
    if (iid == IID_IConnectionPointContainer) return static_cast<IConnectionPointContainer*>(this);
    return ComClass::Find(iid);
}

HRESULT DataCopyClass::StartDataCopy(BSTR ConnectionString, BSTR LocalDatabase, short TableID, short SyncMethod,
                                     BSTR LogFilePath, BSTR BOWBusComponent, VARIANT DatabasePlatform) {
    control::CopyRequest request;
    return Method(
        [&] {
            request =
                RequestOf(ConnectionString, LocalDatabase, TableID, SyncMethod, LogFilePath, BOWBusComponent);
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

HRESULT DataCopyClass::CopyAllTables(BSTR ConnectionString, BSTR LocalDatabase, short SyncMethod,
                                     BSTR LogFilePath, BSTR BOWBusComponent, VARIANT DatabasePlatform) {
    control::CopyRequest request;
    return Method(
        [&] {
            request = RequestOf(ConnectionString, LocalDatabase, control::kAllTables, SyncMethod, LogFilePath,
                                BOWBusComponent);
            const ComRequests::Turn turn(requests_, this);
            request.databasePlatform = PlatformOf(DatabasePlatform);
            dataCopy_.CopyAllTables(request);
        },
        [&](const RuntimeError& error) { requests_.LogRequest(request, error); });
}

HRESULT DataCopyClass::FormatFailedMessage(BSTR Title, BSTR Text, BSTR* Result) {
    return Call([&] {
        std::string result;
        dataCopy_.FormatFailedMessage(FromBstr(Title), FromBstr(Text), result);
        SysFreeString(std::exchange(*Result, Bstr(result).Detach()));
    });
}

HRESULT DataCopyClass::getEmployeeCalenderList(IDispatch** objCalList) {
    return Call([&] {
        if (objCalList == nullptr || *objCalList == nullptr)
            platform::RaiseRuntimeError(platform::kObjectNotSet, "objCalList");
        const auto list = ObjectOf(ComRef<IDispatch>::Share(*objCalList));
        tables::getEmployeeCalenderList(dataCopy_.Run(),
                                        [&](const std::string& code) { platform::Call(*list, "Add", code); });
    });
}

HRESULT DataCopyClass::CreateCalcodesFile() {
    return Call([&] { tables::CreateCalcodesFile(NamedRun()); });
}

HRESULT DataCopyClass::WriteCalcode(VARIANT sCalCode) {
    return Call([&] { tables::WriteCalcode(NamedRun(), FromVariant(sCalCode, ObjectOf)); });
}

HRESULT DataCopyClass::CloseCalcodesFile() {
    return Call([&] { tables::CloseCalcodesFile(NamedRun()); });
}

control::CopyRun& DataCopyClass::NamedRun() {
    if (requests_.Process().runLog.LogFileName().empty())
        platform::RaiseRuntimeError(platform::kObjectNotSet, "no run has named the calendar-codes file");
    return dataCopy_.Run();
}

HRESULT DataCopyClass::EnumConnectionPoints(IEnumConnectionPoints** enumerator) {
    return ConnectionPointEnumerator::Create(enumerator, events_, [&](std::vector<KeptConnectionPoint>& list) {
        list.push_back({ComRef<IConnectionPoint>::Share(&events_)});
    });
}

HRESULT DataCopyClass::FindConnectionPoint(REFIID iid, IConnectionPoint** point) {
    const bool known = iid == __uuidof(__clsDataCopy);
    *point = known ? &events_ : nullptr;
    if (!known) return CONNECT_E_NOCONNECTION;
    events_.AddRef();
    return S_OK;
}

void DataCopyClass::Serve(control::CopyRequest& request, const VARIANT& databasePlatform) {
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

// A client that waits for the outcome hears of the failure as of any other; the log that names its cause is
// the request error log, since the run has none yet.
void DataCopyClass::Refuse(const control::CopyRequest& request, const RuntimeError& error) {
    requests_.LogRequest(request, error);
    const platform::Machine& machine = requests_.Process().machine;
    const std::string log = runtime::RequestErrorLog(machine, request.logFilePath);
    DataCopyError(platform::TimeOfDay(machine.clock.Now()), request.tableId, -1,
                  "DataCopy Failed, see logfile '" + log + "' for details");
    DataCopydone();
}

}  // namespace iqrx::hosting::windows
