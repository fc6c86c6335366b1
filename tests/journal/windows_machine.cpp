#include "journal/machine.h"
#include "platform/windows/machine.h"
#include "support/apartment.h"

namespace iqrx::testing {

namespace {

class Own final : public JournalMachine {
public:
    platform::Host& Host() override { return *host_; }
    platform::TextFiles& Files() override { return machine_->files; }

private:
    platform::windows::Apartment apartment_;
    const std::shared_ptr<const platform::Machine> machine_ =
        platform::windows::CreateMachine(platform::windows::Audience::Nobody);
    const std::unique_ptr<platform::Host> host_ = platform::windows::CreateHost();
};

}  // namespace

std::unique_ptr<JournalMachine> OpenJournalMachine() { return std::make_unique<Own>(); }

}  // namespace iqrx::testing
