// The looks that `check` takes, each at one part of the site. None of them changes anything, or raises.
#pragma once

#include "qrxctl/books.h"
#include "qrxctl/findings.h"

namespace iqrx::qrxctl {

struct Site {
    const Options& options;
    hosting::Composition& parts;
    control::Process& process;  // its catalog is loaded by CheckCatalog, its database opened by CheckDatabase
    Books& books;
    Findings& findings;
};

// Each is done when the one before found nothing that keeps it from looking: false when it did.
bool CheckDatabase(const Site& site);
bool CheckTables(const Site& site);
bool CheckCatalog(const Site& site);
void CheckFilters(const Site& site);
void CheckLocks(const Site& site);

void CheckTexts(const Site& site);
void CheckLogs(const Site& site);
void CheckExtract(const Site& site);
void CheckClock(const Site& site);
void CheckSecrets(const Site& site);
void CheckState(const Site& site);

std::string SizeText(std::uintmax_t bytes);  // "331 MB"

}  // namespace iqrx::qrxctl
