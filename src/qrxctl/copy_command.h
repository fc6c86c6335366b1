// Copies tables, one request each, through the handler that the service uses.
#pragma once

#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include "hosting/sub_main.h"
#include "qrxctl/options.h"

namespace iqrx::qrxctl {

struct CopyOptions {
    std::vector<std::string> tables;
    bool all = false;  // every table of the catalog
    bool full = false;
    bool incremental = false;
    std::optional<std::string> since;  // read the audit trail from this moment on instead of the last update
};

// A name that the catalog does not know raises UnknownTable before anything is copied.
struct UnknownTable : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Shows progress on the diagnostics and a closing table on `out`; returns the worst of the requests' exit codes.
hosting::ExitCode Copy(control::Ports ports, const Options& options, const CopyOptions& copy,
                       std::ostream& out);

}  // namespace iqrx::qrxctl
