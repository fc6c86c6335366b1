#include "composition/composition.h"

#include "erp/extract/extract_erp.h"
#include "platform/date.h"
#include "platform/error.h"
#include "platform/ini_file.h"
#include "platform/text.h"
#include "platform/trace/tracing_database.h"

namespace iqrx::hosting {

namespace {

platform::watch::DateLiteral DateWriterOf(platform::Integer platform) {
    return [frame = &runtime::DialectOf(platform).date](platform::Date moment) {
        const std::string text = platform::IsoDateTime(moment);
        std::string literal;
        platform::Literal::Text(text, *frame).AppendTo(literal);
        return literal;
    };
}

}  // namespace

std::unique_ptr<erp::Erp> System::Open(const std::string& runParameter, const erp::Notice& notice) {
    if (const auto directory = ExtractOf(runParameter)) return erp::extract::OpenExtract(*directory, notice);
    return OpenOther(runParameter);
}

std::optional<std::filesystem::path> ExtractOf(std::string_view runParameter) {
    constexpr std::string_view kExtract = "extract=";
    if (!runParameter.starts_with(kExtract)) return std::nullopt;
    return platform::Path(runParameter.substr(kExtract.size()));
}

Surroundings SurroundingsOf(const Variables& variables) {
    const auto file = [&](const char* name) -> std::optional<std::filesystem::path> {
        if (const auto value = variables(name)) return platform::Path(*value);
        return std::nullopt;
    };
    return {.trace = file("QRX_SQL_TRACE"), .instances = file("QRX_INSTANCE")};
}

Surroundings SurroundingsOfService(const Variables& variables, const platform::StopRequest* stop) {
    Surroundings surroundings = SurroundingsOf(variables);
    surroundings.stop = stop;
    const auto variable = variables("QRX_MAX_REMOVED");
    const auto text =
        variable ? variable
                 : platform::IniFile(ProgramFolder() / "iQRXyQRXSync.ini").Find("Guard", "MaxRemoved");
    surroundings.reusesSessions = true;
    if (!text || text->empty()) return surroundings;
    const auto limit = platform::watch::RemovalLimit::Parse(*text);
    if (!limit)
        platform::RaiseRuntimeError(platform::kTypeMismatch,
                                    (variable ? "QRX_MAX_REMOVED" : "MaxRemoved in iQRXyQRXSync.ini") +
                                        (": \"" + *text) + "\" is not a share (10%), a number of rows or any");
    surroundings.limits = platform::watch::RemovalLimits{*limit, {}};
    return surroundings;
}

// The trace shows a request's own statements: what guards them asks below it.
Composition::Composition(const Surroundings& surroundings) : system_(CreateSystem(surroundings, counts_)) {
    using namespace platform::watch;
    const auto around = [&](auto wrap) { databases_.push_back(wrap(Databases())); };
    if (surroundings.removedRows)
        around([&](auto& inner) {
            return KeepRemovedRows(inner, *surroundings.removedRows, DateWriterOf(surroundings.platform));
        });
    if (surroundings.limits) {
        limits_ = *surroundings.limits;
        around([&](auto& inner) { return GuardRemovals(inner, limits_, refused_); });
    }
    around([&](auto& inner) { return CountRows(inner, counts_); });
    if (surroundings.trace)
        around([&](auto& inner) {
            return std::make_unique<platform::trace::TracingDatabaseProvider>(inner, system_->machine->files,
                                                                              *surroundings.trace);
        });
    if (surroundings.stop)
        around([&](auto& inner) { return StopBetweenStatements(inner, *surroundings.stop); });
}

platform::DatabaseProvider& Composition::Databases() {
    return databases_.empty() ? *system_ : *databases_.back();
}

control::Ports Composition::Ports(std::ostream& diagnostics, control::RunWitness* witness) {
    return {*system_->machine, Databases(), *system_, *system_->objects, diagnostics, witness};
}

}  // namespace iqrx::hosting
