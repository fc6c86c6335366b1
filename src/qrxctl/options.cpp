#include "qrxctl/options.h"

#include "hosting/sub_main.h"

namespace iqrx::qrxctl {

platform::Integer PlatformNumber(const Options& options) {
    return options.platform == "oracle" ? runtime::kOracle : runtime::kSqlServer;
}

void PrepareProcess(control::Process& process, const Options& options) {
    process.settings.standalone = true;
    process.settings.treeGroup = options.group;
    hosting::LoadCatalog(process, options.connection, options.database, PlatformNumber(options));
}

}  // namespace iqrx::qrxctl
