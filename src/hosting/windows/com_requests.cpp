#include "hosting/windows/com_requests.h"

#include "hosting/sub_main.h"
#include "platform/error.h"
#include "platform/ini_file.h"
#include "platform/windows/com.h"
#include "runtime/run_log.h"
#include "runtime/trim.h"

namespace iqrx::hosting::windows {

ComRequests::ComRequests(control::Process& process) : process_(process) {
    const platform::IniFile settings(process.machine.programFolder / "iQRXyQRXSync.ini");
    process_.settings.treeGroup = settings.Find("Requests", "TreeGroup").value_or("");
}

ComRequests::Turn::Turn(ComRequests& requests) : requests_(requests) {
    if (requests.busy_)
        throw platform::RuntimeError(RPC_E_SERVERCALL_RETRYLATER, "iQRXyQRXSync",
                                     "Another request is under way in this process");
    requests.busy_ = true;
}

bool ComRequests::LoadCatalogOnce(const control::CopyRequest& request) {
    if (catalogLoaded_) return true;
    try {
        LoadCatalog(process_, request.connectionString, request.localDatabase,
                    static_cast<platform::Integer>(request.databasePlatform));
        catalogLoaded_ = true;
    } catch (...) {
        runtime::LogHandlerError(process_.machine, process_.messages, request.logFilePath,
                                 platform::CurrentError());
    }
    return catalogLoaded_;
}

}  // namespace iqrx::hosting::windows
