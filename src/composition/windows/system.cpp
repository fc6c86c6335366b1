#include "composition/system.h"

#include <cstdlib>

#include "erp/com/com_erp.h"
#include "platform/ado/connection.h"
#include "platform/windows/apartment.h"
#include "platform/windows/com_object.h"
#include "platform/windows/machine.h"
#include "platform/windows/text.h"

namespace iqrx::hosting {

namespace {

using platform::windows::Audience;

class WindowsSystem final : public System {
public:
    explicit WindowsSystem(const Surroundings& surroundings)
        : System(platform::windows::CreateMachine(
                     surroundings.isEmbedded ? Audience::Nobody : platform::windows::AudienceOfDesktop()),
                 platform::windows::CreateHost(), std::make_unique<platform::windows::ComObjectFactory>()) {}

    // Every connection string goes to ADO.
    std::unique_ptr<platform::Connection> CreateConnection(std::string_view) override {
        return platform::ado::CreateConnection(*objects);
    }

    std::unique_ptr<erp::Erp> OpenOther(const std::string&) override {
        return erp::com::OpenComErp(*objects, ProgramFolder() / "ErpClasses.ini");
    }
};

}  // namespace

std::optional<std::string> Variable(const std::string& name) {
    const wchar_t* value = _wgetenv(platform::windows::Wide(name).c_str());
    if (!value || !*value) return std::nullopt;
    return platform::windows::Utf8(value);
}

std::filesystem::path ProgramFolder() { return platform::windows::ProgramFile().parent_path(); }

std::unique_ptr<platform::StopRequest> ListenForStop() { return platform::windows::ListenForConsoleEvents(); }

std::unique_ptr<System> CreateSystem(const Surroundings& surroundings, platform::watch::RowCounts&) {
    // Before everything that calls COM. It is never left: to leave is to wait for COM's tear-down, which may
    // not end.
    platform::windows::EnterApartment();
    return std::make_unique<WindowsSystem>(surroundings);
}

}  // namespace iqrx::hosting
