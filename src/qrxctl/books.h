// What the tool has kept of its runs, and its own look at the database, which is no part of a request.
#pragma once

#include "journal/history.h"
#include "journal/ledger.h"
#include "journal/run_sheet.h"
#include "qrxctl/command.h"

namespace iqrx::qrxctl {

struct Books {
    Books(hosting::Composition& parts, const Options& options, journal::Use use);

    journal::StateDirectory directory;
    journal::RunSheets sheets{directory};
    journal::History history{directory};
    journal::Ledger ledger{directory};
};

// A process' ports, with a database that is neither traced nor watched as a request's is.
control::Ports PlainPorts(hosting::Composition& parts, std::ostream& diagnostics);

// What a command works with that looks at database and books, or mends them. The workplace is borrowed.
struct Workbench {
    Workbench(const Workplace& workplace, journal::Use use);

    const Workplace& place;
    hosting::Composition parts;
    control::Process process;  // with neither catalog nor database yet
    Books books;
};

// "pid 17552 (qrxctl copy --all --full, anna)"; of a damaged sheet what can be read of it.
std::string Described(const journal::SheetText& holder);

// A note of a history in which lines cannot be read.
std::string DamageLine(const std::string& historyFile, const journal::Damage& damage);

journal::Timestamp Moment(hosting::Composition& parts);  // of the machine's clock
// "2026-11-21T10:40:32+01:00" of the machine's clock.
std::string Now(hosting::Composition& parts);

}  // namespace iqrx::qrxctl
