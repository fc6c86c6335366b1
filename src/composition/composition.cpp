#include "composition/composition.h"

#include "composition/system.h"
#include "erp/extract/extract_erp.h"
#include "platform/trace/tracing_database.h"

namespace iqrx::hosting {

namespace {

std::filesystem::path Path(const std::string& utf8) { return std::u8string(utf8.begin(), utf8.end()); }

class ErpChooser : public erp::ErpProvider {
public:
    explicit ErpChooser(erp::ErpProvider& others) : others_(others) {}

    std::unique_ptr<erp::Erp> Open(const std::string& runParameter, const erp::Notice& notice) override {
        constexpr std::string_view kExtract = "extract=";
        if (!runParameter.starts_with(kExtract)) return others_.Open(runParameter, notice);
        return erp::extract::OpenExtract(Path(runParameter.substr(kExtract.size())), notice);
    }

private:
    erp::ErpProvider& others_;
};

}  // namespace

Surroundings SurroundingsOf(const Variables& variables) {
    const auto file = [&](const char* name) -> std::optional<std::filesystem::path> {
        if (const auto value = variables(name)) return Path(*value);
        return std::nullopt;
    };
    return {.trace = file("QRX_SQL_TRACE"), .instances = file("QRX_INSTANCE")};
}

Composition::Composition(const Surroundings& surroundings)
    : system_(CreateSystem(surroundings)), erps_(std::make_unique<ErpChooser>(*system_)) {
    if (surroundings.trace)
        tracing_ = std::make_unique<platform::trace::TracingDatabaseProvider>(
            *system_, system_->Machine().files, *surroundings.trace);
}

Composition::~Composition() = default;

control::Ports Composition::Ports(std::ostream& diagnostics) {
    platform::DatabaseProvider& databases = tracing_ ? *tracing_ : *system_;
    return {system_->Machine(), databases, *erps_, system_->Objects(), diagnostics};
}

platform::Machine Composition::Machine() { return system_->Machine(); }

platform::Host& Composition::Host() { return system_->Host(); }

platform::DatabaseProvider& Composition::PlainDatabases() { return *system_; }

bool Composition::ApplyEmbeddedSchema(const std::string& connectionString, std::string_view script) {
    return system_->ApplyEmbeddedSchema(connectionString, script);
}

}  // namespace iqrx::hosting
