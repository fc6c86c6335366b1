#include "hosting/cls_data_copy_handler.h"

#include <ostream>

#include "hosting/command_line.h"
#include "hosting/dispatch.h"

namespace iqrx::hosting {

using control::Outcome;
using platform::ByRef;
using platform::Call;
using platform::Integer;
using platform::Value;

namespace {

// What UpdateSyncStatus says to the scheduler, and UpdateStatusByTable of a table.
enum SyncStatus : Integer { kSyncStarted = 1, kSyncComplete = 2, kSyncFailed = 3 };
enum TableStatus : Integer { kStatusStarted = 2, kStatusComplete = 4, kStatusInUse = 8, kStatusFailed = 16 };

}  // namespace

void clsDataCopyHandler::HandleDataCopy(const control::CopyRequest& request) {
    outcome_ = Outcome::Error;
    control::RunWitness* const witness = process_.witness;
    if (witness) witness->RunBegins(request, control::TableOf(process_.catalog, request));
    std::string failure;
    try {
        Handle(request);
    } catch (...) {
        const platform::RuntimeError error = platform::CurrentError();
        failure = error.description;
        TellOfFailure(process_, request.logFilePath, error);
    }
    if (witness) witness->RunEnded(outcome_, failure.empty() ? process_.runLog.FirstError() : failure);
}

void clsDataCopyHandler::Handle(const control::CopyRequest& request) {
    statusKey_ = request.statusKey;
    if (!process_.settings.standalone) FetchInstanceObject();
    dataCopyJob_ = std::make_unique<control::clsDataCopy>(process_, Tables(), Calendars(), *this);
    process_.settings.allTables = false;
    if (request.tableId == control::kAllTables) {
        dataCopyJob_->CopyAllTables(request);
        outcome_ = Outcome::Complete;
        return;
    }
    dataCopyJob_->StartDataCopy(request);
    outcome_ = dataCopyJob_->LastOutcome();
}

void clsDataCopyHandler::FetchInstanceObject() {
    const platform::ObjectRef registry = process_.objects.CreateObject("iQRXyInstHandler.InstanceHandle");
    Value number = process_.settings.currentInstanceNumber;
    const Value instance = Call(*registry, "getInstance", ByRef{number});
    process_.settings.currentInstanceNumber = platform::ToInteger(number);
    instanceObject_ = platform::ObjectOrNothing(instance);
    registry->Set("CurrentInstanceNumber", process_.settings.currentInstanceNumber);
    if (!instanceObject_)
        throw platform::RuntimeError(kNoInstanceObject, "Handle Data Copy",
                                     process_.messages.GetI18nText("SLBL0120"));
}

clsDataCopyHandler::TableNames clsDataCopyHandler::NamesOf(Integer tableId) const {
    const int id = tableId == control::kCalendarOfEmployee ? control::kCalendarTable : tableId;
    if (const std::string text = std::to_string(id); !control::TableCatalog::HasRoomFor(id))
        return {text, text, text};
    const control::TableCatalog& catalog = process_.catalog;
    return {catalog.GetTableText(id), catalog.GetErpTableId(id), catalog.GetTableName(id)};
}

template <class Calls>
void clsDataCopyHandler::Relay(Integer tableId, Integer status, Calls calls) {
    const TableNames table = NamesOf(tableId);
    if (!process_.settings.standalone) calls(table);
    if (!statusKey_) return;
    Value key = *statusKey_;
    Call(Instance(), "UpdateStatusByTable", table.text, table.erpId, status, ByRef{key});
    statusKey_ = platform::ToLong(key);
}

void clsDataCopyHandler::DataCopyAlreadyInProgress(platform::Date iTime, Integer iTableID) {
    Relay(iTableID, kStatusInUse, [&](const TableNames& table) {
        Call(Instance(), "writeToMessageBox", TextAbout("SLBL0007", table), iTime);
    });
}

void clsDataCopyHandler::DataCopyComplete(platform::Date iTime, Integer iTableID, platform::Long icount,
                                          platform::Long ucount, platform::Long dcount) {
    Relay(iTableID, kStatusComplete, [&](const TableNames& table) {
        const std::string text =
            process_.messages.GetI18nText("SLBL0010", {table.text, table.erpId, std::to_string(icount),
                                                       std::to_string(ucount), std::to_string(dcount)});
        Call(Instance(), "writeToMessageBox", text, iTime);
        Call(Instance(), "UpdateSyncStatus", Integer{kSyncComplete}, iTime);
    });
}

void clsDataCopyHandler::DataCopyError(platform::Date iTime, Integer iTableID, Integer ieNumber,
                                       const std::string& ieMessage) {
    Relay(iTableID, kStatusFailed, [&](const TableNames& table) {
        const std::string alert =
            process_.messages.GetI18nText("SLBL0133", {table.name, std::to_string(ieNumber), ieMessage});
        Call(Instance(), "writeToMessageBox", TextAbout("SLBL0006", table), iTime);
        Call(Instance(), "WriteToAlertBox", alert, iTime);
        Call(Instance(), "UpdateSyncStatus", Integer{kSyncFailed}, iTime);
    });
}

void clsDataCopyHandler::DataCopyStarted(platform::Date iTime, Integer iTableID) {
    Relay(iTableID, kStatusStarted, [&](const TableNames& table) {
        Call(Instance(), "writeToMessageBox", TextAbout("SLBL0009", table), iTime);
        Call(Instance(), "UpdateSyncStatus", Integer{kSyncStarted}, iTime);
    });
}

void TellOfFailure(control::Process& process, const std::string& logDirectory,
                   const platform::RuntimeError& error) {
    runtime::LogHandlerError(process.machine, process.messages, logDirectory, error);
    process.diagnostics << runtime::DiagnosticLine(error.description) << std::endl;
}

}  // namespace iqrx::hosting
