// What a copy may be told.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/watch/removal_limit.h"
#include "qrxctl/command.h"

namespace iqrx::qrxctl {

struct CopyOptions {
    std::vector<std::string> tables;
    bool all = false;  // every table of the catalog
    bool full = false;
    bool incremental = false;
    bool dryRun = false;
    bool resume = false;      // leave out what the run before has done
    bool fillGaps = false;    // read the trail from its first gap on
    bool noTakeover = false;  // leave a lock whose process is gone
    int jobs = 1;
    std::optional<std::string> since;  // read the audit trail from this moment on instead of the last update
    std::string maxRemoved;            // empty: the default
    std::string thenFull;              // "blanked"

    void AddTo(CLI::App& command);
    // Raises CLI::ParseError.
    void Check(const Options& options) const;

    const char* Method() const { return full ? "full" : "incremental"; }
    // A table's own limit, from the INI file's section [guard], goes before that of all. Raises CLI::ParseError.
    platform::watch::RemovalLimits Limits(const Options& options) const;
    // "qrxctl copy --all --full": what is copied, how, and from when on.
    std::string Aim() const;
    // The same with how far it may go; as an operator would type it, without connection or password.
    std::string CommandLine() const;
};

}  // namespace iqrx::qrxctl
