#include "qrxctl/options.h"

#include "hosting/sub_main.h"

namespace iqrx::qrxctl {

control::CopyRequest RequestOf(const Options& options) {
    return {.connectionString = options.connection,
            .localDatabase = options.database,
            .logFilePath = options.logDirectory,
            .busComponent = options.erp,
            .databasePlatform = PlatformNumber(options)};
}

platform::Integer PlatformNumber(const Options& options) {
    return options.platform == "oracle" ? runtime::kOracle : runtime::kSqlServer;
}

void PrepareProcess(control::Process& process, const Options& options) {
    process.settings.standalone = true;
    process.settings.treeGroup = options.group;
    hosting::LoadCatalog(process, RequestOf(options));
}

}  // namespace iqrx::qrxctl
