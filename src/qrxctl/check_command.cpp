#include <ostream>

#include "qrxctl/checks.h"
#include "qrxctl/command.h"

namespace iqrx::qrxctl {

namespace {

class CheckCommand : public Command {
public:
    void AddOptions(CLI::App&) override {}
    void Check(const Options& options) const override { RequireConnection(options); }

    ExitCode Run(const Workplace& place) override {
        Site site(place);
        LookAtAll(site);
        site.process.database.CloseDatabase();
        const Findings& findings = site.findings;
        place.out << (place.options.json ? findings.Json() + '\n' : findings.Text(place.options.quiet));
        return findings.Count(CheckedItem::Grade::Wrong) > 0 ? kFailed : kAllWell;
    }

private:
    static void LookAtAll(Site& site) {
        const bool hasCatalog = CheckDatabase(site) && CheckTables(site) && CheckCatalog(site);
        if (hasCatalog) CheckFilters(site);
        CheckTexts(site);
        CheckLogs(site);
        CheckExtract(site);
        CheckClock(site);
        if (hasCatalog) CheckLocks(site);
        CheckSecrets(site);
        CheckState(site);
    }
};

}  // namespace

std::unique_ptr<Command> MakeCheck() { return std::make_unique<CheckCommand>(); }

}  // namespace iqrx::qrxctl
