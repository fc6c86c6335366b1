#include <array>

#include "qrxctl/command.h"

namespace iqrx::qrxctl {

namespace {

constexpr std::array kCommands{
    CommandEntry{"First", "init", "put tables and catalog in place", MakeInit},
    CommandEntry{"First", "check", "is everything as it should be?", MakeCheck},
    CommandEntry{"Copy", "copy", "copy tables, in full or what changed", MakeCopy},
    CommandEntry{"Copy", "undo", "bring back what a full copy removed", MakeUndo},
    CommandEntry{"Watch", "status", "how fresh, how many, who holds it", MakeStatus},
    CommandEntry{"Watch", "history", "what ran, when, how it ended", MakeHistory},
    CommandEntry{"Run", "unlock", "release a table that nobody copies any more", MakeUnlock},
    CommandEntry{"Help", "sample", "write an extract to play with", MakeSample},
};

}  // namespace

std::span<const CommandEntry> Commands() { return kCommands; }

}  // namespace iqrx::qrxctl
