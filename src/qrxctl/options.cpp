#include "qrxctl/options.h"

#include <vector>

#include "hosting/sub_main.h"
#include "platform/conversions.h"
#include "qrxctl/command.h"

namespace iqrx::qrxctl {

namespace {

constexpr runtime::Sql<0> kGroups = "SELECT DISTINCT groupid FROM tstreenodes ORDER BY groupid";

std::string GroupsOf(control::Process& process, const Options& options) {
    runtime::DatabaseSession session(process.machine, process.databases);
    session.OpenDatabase(options.connection, options.database, PlatformNumber(options));
    std::string groups;
    for (auto rows = session.OpenRecordset(kGroups()); !rows->Eof(); rows->MoveNext())
        groups += (groups.empty() ? "" : ", ") + platform::ToText(rows->Field(0));
    return groups;
}

// Without its file of texts the process knows labels only.
std::string InWords(std::string text) {
    constexpr std::string_view kLabels = "SLBL0321SLBL0026";
    if (text.starts_with(kLabels))
        text.replace(0, kLabels.size(), "The table catalog could not be loaded; cause:");
    return text;
}

}  // namespace

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
    try {
        hosting::LoadCatalog(process, RequestOf(options));
    } catch (const platform::RuntimeError& error) {
        const std::string groups = error.number == control::kCatalogEmpty ? GroupsOf(process, options) : "";
        if (!groups.empty()) throw UsageError("no group " + options.group + "; there is: " + groups);
        throw platform::RuntimeError(error.number, error.source, InWords(error.description));
    }
}

}  // namespace iqrx::qrxctl
