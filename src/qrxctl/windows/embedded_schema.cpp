#include "qrxctl/embedded_schema.h"

namespace iqrx::qrxctl {

// Every connection string goes to ADO.
bool ApplyEmbeddedSchema(const std::string&, const std::filesystem::path&) { return false; }

}  // namespace iqrx::qrxctl
