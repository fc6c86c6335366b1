// What the tool has kept of its runs, and its own look at the database, which is no part of a request.
#pragma once

#include "composition/composition.h"
#include "journal/history.h"
#include "journal/ledger.h"
#include "journal/run_sheet.h"
#include "qrxctl/options.h"

namespace iqrx::qrxctl {

struct Books {
    Books(hosting::Composition& parts, const Options& options, journal::Use use);

    journal::StateDirectory directory;
    journal::RunSheets sheets{directory};
    journal::History history{directory};
    journal::Ledger ledger{directory};
};

// "pid 17552 (qrxctl copy --all --full, anna)"; of a damaged sheet what can be read of it.
std::string Described(const journal::SheetText& holder);

// A note of a history in which lines cannot be read.
std::string DamageLine(const std::string& historyFile, const journal::Damage& damage);

// "2026-11-21T10:40:32+01:00" of the machine's clock.
std::string Now(hosting::Composition& parts);

}  // namespace iqrx::qrxctl
