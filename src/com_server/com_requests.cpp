#include "com_server/com_requests.h"

#include "hosting/sub_main.h"
#include "platform/ini_file.h"
#include "runtime/run_log.h"

namespace iqrx::hosting::windows {

using platform::RuntimeError;

control::CopyRequest RequestOf(BSTR connectionString, BSTR localDatabase, short tableId, short syncMethod,
                               BSTR logFilePath, BSTR busComponent, LONG databasePlatform) {
    using platform::windows::FromBstr;
    return {FromBstr(connectionString), FromBstr(localDatabase), tableId,         syncMethod,
            FromBstr(logFilePath),      FromBstr(busComponent),  databasePlatform};
}

ComRequests::ComRequests(control::Process& process) : process_(process) {
    const std::filesystem::path file = process.machine.programFolder / "iQRXyQRXSync.ini";
    const auto group = platform::IniFile(file).Find("Requests", "TreeGroup");
    process_.settings.treeGroup = group.value_or("");
    if (group) return;
    std::error_code unknown;
    settingsLack_ = platform::windows::Utf8(file.native()) +
                    (std::filesystem::exists(file, unknown) ? " names no TreeGroup" : " is missing");
}

ComRequests::Turn::Turn(ComRequests& requests, const void* object) : requests_(requests) {
    if (requests.running_ != nullptr)
        throw RuntimeError(RPC_E_SERVERCALL_RETRYLATER, "iQRXyQRXSync",
                           "Another request is under way in this process");
    requests.running_ = object;
}

void ComRequests::LoadCatalogOf(const control::CopyRequest& request) {
    const Origin origin{request.connectionString, request.localDatabase, request.databasePlatform};
    if (catalogOrigin_ == origin) return;
    catalogOrigin_.reset();
    try {
        LoadCatalog(process_, request);
    } catch (const RuntimeError& error) {
        if (error.number != control::kCatalogEmpty || settingsLack_.empty()) throw;
        throw RuntimeError(error.number, error.source, error.description + "; " + settingsLack_);
    }
    catalogOrigin_ = origin;
}

void ComRequests::LogRequest(const control::CopyRequest& request, const RuntimeError& error) {
    runtime::LogHandlerError(process_.machine, process_.messages, request.logFilePath, error);
}

void ComRequests::LogCall(const RuntimeError& error) {
    if (process_.runLog.LogFileName().empty())
        runtime::LogHandlerError(process_.machine, process_.messages, {}, error);
    else
        process_.runLog.LogError({}, error);
}

}  // namespace iqrx::hosting::windows
