// What the tool tells the shell, the scheduler and the monitor that started it.
#pragma once

#include <array>

namespace iqrx::qrxctl {

enum ExitCode : int {
    kAllWell = 0,
    kFailed = 1,
    kTableInUse = 2,
    kDiffers = 3,
    kGuarded = 4,  // a removal was refused
    kStale = 5,    // too old, a gap, or a lock without a process
    kUsedWrongly = 64,
    kStopped = 130,  // by a signal
};

// The one that matters more to whoever has to act.
constexpr ExitCode Worse(ExitCode one, ExitCode other) {
    constexpr std::array kWorstFirst{kUsedWrongly, kStopped, kFailed,     kGuarded,
                                     kDiffers,     kStale,   kTableInUse, kAllWell};
    for (const ExitCode code : kWorstFirst)
        if (code == one || code == other) return code;
    return kAllWell;
}

}  // namespace iqrx::qrxctl
