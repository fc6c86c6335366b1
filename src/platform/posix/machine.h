// The ports of a POSIX machine. Locale and time zone are those of the environment when it is made;
// nothing process-wide is changed.
#pragma once

#include <memory>

#include "platform/machine.h"

namespace iqrx::platform::posix {

class PosixMachine {
public:
    PosixMachine();
    ~PosixMachine();

    Machine Ports();  // valid for as long as this object lives

private:
    struct Parts;
    std::unique_ptr<Parts> parts_;
};

std::filesystem::path ProgramFile();

}  // namespace iqrx::platform::posix
