#include "journal/machine.h"
#include "platform/windows/host.h"
#include "platform/windows/machine.h"
#include "support/apartment.h"

namespace iqrx::testing {

namespace {

class Own final : public JournalMachine {
public:
    platform::Host& Host() override { return host_; }
    platform::TextFiles& Files() override { return machine_.Ports().files; }

private:
    platform::windows::Apartment apartment_;
    platform::windows::WindowsMachine machine_{platform::windows::Audience::Nobody};
    platform::windows::WindowsHost host_;
};

}  // namespace

std::unique_ptr<JournalMachine> OpenJournalMachine() { return std::make_unique<Own>(); }

}  // namespace iqrx::testing
