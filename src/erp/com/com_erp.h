// The ERP as its COM classes: the audit classes and the calendar service by their ProgIDs, each table's
// manager and record class by the ProgIDs that the settings file names:
//
//     [tsmdm030]
//     Manager=Orva.ServiceTypes.Manager
//     Record=Orva.ServiceTypes.Record
#pragma once

#include <filesystem>
#include <memory>

#include "erp/erp.h"

namespace iqrx::erp::com {

// Each Create raises RuntimeError 429 for a class that the file does not name or that can't be created. The
// factory is borrowed.
std::unique_ptr<Erp> OpenComErp(platform::ObjectFactory& factory, const std::filesystem::path& classesFile);

}  // namespace iqrx::erp::com
