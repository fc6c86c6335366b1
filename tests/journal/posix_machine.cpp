#include "journal/machine.h"
#include "platform/posix/machine.h"

namespace iqrx::testing {

namespace {

class Own final : public JournalMachine {
public:
    platform::Host& Host() override { return *host_; }
    platform::TextFiles& Files() override { return machine_->files; }

private:
    const std::shared_ptr<const platform::Machine> machine_ = platform::posix::CreateMachine();
    const std::unique_ptr<platform::Host> host_ = platform::posix::CreateHost();
};

}  // namespace

std::unique_ptr<JournalMachine> OpenJournalMachine() { return std::make_unique<Own>(); }

}  // namespace iqrx::testing
