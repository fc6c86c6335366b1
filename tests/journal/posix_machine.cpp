#include "journal/machine.h"
#include "platform/posix/host.h"
#include "platform/posix/machine.h"

namespace iqrx::testing {

namespace {

class Own final : public JournalMachine {
public:
    platform::Host& Host() override { return host_; }
    platform::TextFiles& Files() override { return machine_.Ports().files; }

private:
    platform::posix::PosixMachine machine_;
    platform::posix::PosixHost host_;
};

}  // namespace

std::unique_ptr<JournalMachine> OpenJournalMachine() { return std::make_unique<Own>(); }

}  // namespace iqrx::testing
