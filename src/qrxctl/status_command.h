// Shows what the control tables say of each table of the catalog.
#pragma once

#include <iosfwd>

#include "qrxctl/options.h"

namespace iqrx::qrxctl {

// A table for a person or, with `json`, an array of objects. Raises RuntimeError.
void Status(const control::Ports& ports, const Options& options, bool json, std::ostream& out);

}  // namespace iqrx::qrxctl
