#include "control/copy_run.h"

#include <limits>

#include "platform/error.h"

namespace iqrx::control {

void Add(platform::Long& counter, platform::Long amount) {
    if (amount > 0 && counter > std::numeric_limits<platform::Long>::max() - amount)
        platform::RaiseRuntimeError(platform::kOverflow);
    counter += amount;
}

erp::Erp& CopyRun::Erp(const std::string& runParameter) {
    if (!erp_) erp_ = process.erps.Open(runParameter, notice_);
    return *erp_;
}

}  // namespace iqrx::control
