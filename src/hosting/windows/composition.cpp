#include "hosting/composition.h"

#include <cstdlib>
#include <optional>
#include <string>

#include "erp/com/com_erp.h"
#include "erp/extract/extract_erp.h"
#include "hosting/windows/start.h"
#include "platform/ado/connection.h"
#include "platform/trace/tracing_database.h"
#include "platform/windows/apartment.h"
#include "platform/windows/com_object.h"
#include "platform/windows/machine.h"

namespace iqrx::hosting {

namespace {

class ErpChooser : public erp::ErpProvider {
public:
    explicit ErpChooser(platform::ObjectFactory& objects) : objects_(objects) {}

    std::unique_ptr<erp::Erp> Open(const std::string& runParameter, const erp::Notice& notice) override {
        constexpr std::string_view kExtract = "extract=";
        if (runParameter.starts_with(kExtract))
            return erp::extract::OpenExtract(platform::windows::Wide(runParameter.substr(kExtract.size())),
                                             notice);
        return erp::com::OpenComErp(objects_,
                                    platform::windows::ProgramFile().parent_path() / "ErpClasses.ini");
    }

private:
    platform::ObjectFactory& objects_;
};

// Entered and never left: to leave is to wait for COM's tear-down, which may not end.
struct EnteredApartment {
    EnteredApartment() { platform::windows::EnterApartment(); }
};

std::optional<std::filesystem::path> FileInVariable(const wchar_t* variable) {
    const wchar_t* value = _wgetenv(variable);
    if (!value || !*value) return std::nullopt;
    return value;
}

}  // namespace

struct Composition::Parts {
    Parts() {
        if (const auto file = FileInVariable(L"QRX_SQL_TRACE"))
            tracing.emplace(databases, machine.Ports().files, *file);
    }

    EnteredApartment apartment;  // before everything that calls COM
    platform::windows::WindowsMachine machine{windows::AudienceOfStart()};
    platform::windows::ComObjectFactory objects;
    platform::ado::AdoProvider databases{objects};
    std::optional<platform::trace::TracingDatabaseProvider> tracing;
    ErpChooser erps{objects};
};

Composition::Composition() : parts_(std::make_unique<Parts>()) {}

Composition::~Composition() = default;

platform::Machine Composition::Machine() { return parts_->machine.Ports(); }

platform::DatabaseProvider& Composition::Databases() {
    if (parts_->tracing) return *parts_->tracing;
    return parts_->databases;
}

erp::ErpProvider& Composition::Erps() { return parts_->erps; }

platform::ObjectFactory& Composition::Objects() { return parts_->objects; }

// Every connection string goes to ADO.
bool Composition::ApplyEmbeddedSchema(const std::string&, std::string_view) { return false; }

}  // namespace iqrx::hosting
