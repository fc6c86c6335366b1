// Exclusive sections by a server's serializable transactions: where two meet, the server lets one of them
// fail, which then has to run again.
#pragma once

#include <functional>

#include "platform/database.h"

namespace iqrx::platform {

// Whether a provider says with these errors that a transaction failed since another was in its way, or since
// the other's row came first.
bool NamesAVictim(const Errors& errors);

// Makes the attempt until it does not raise; raises what it raised when `isVictim` then says no, and when
// it was a victim so often that something else must be wrong. Others get room between two attempts.
void RepeatForVictims(const std::function<void()>& attempt, const std::function<bool()>& isVictim);

}  // namespace iqrx::platform
