// The looks that `check` takes, each at one part of the site. None of them changes anything, or raises.
#pragma once

#include "qrxctl/books.h"
#include "qrxctl/findings.h"

namespace iqrx::qrxctl {

// CheckCatalog loads the catalog, CheckDatabase opens the database.
struct Site : Workbench {
    explicit Site(const Workplace& workplace) : Workbench(workplace, journal::Use::Reading) {}

    const Options& options = place.options;
    Findings findings;
};

// Each is done when the one before found nothing that keeps it from looking: false when it did.
bool CheckDatabase(Site& site);
bool CheckTables(Site& site);
bool CheckCatalog(Site& site);
void CheckFilters(Site& site);
void CheckLocks(Site& site);

void CheckTexts(Site& site);
void CheckLogs(Site& site);
void CheckExtract(Site& site);
void CheckClock(Site& site);
void CheckSecrets(Site& site);
void CheckState(Site& site);

std::string SizeText(std::uintmax_t bytes);  // "331 MB"

}  // namespace iqrx::qrxctl
