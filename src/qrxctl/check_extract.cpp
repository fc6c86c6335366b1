#include <fmt/format.h>

#include <algorithm>

#include "journal/exported.h"
#include "platform/date.h"
#include "platform/object.h"
#include "platform/printable.h"
#include "qrxctl/checks.h"
#include "qrxctl/lines.h"
#include "runtime/sql_literals.h"
#include "tables/definitions.h"

namespace iqrx::qrxctl {

namespace {

namespace fs = std::filesystem;
using platform::ByRef;
using platform::Call;
using platform::ObjectRef;
using platform::Value;

// The ERP's own checks of a file are those of its reader, which is opened and nothing read.
class Files {
public:
    explicit Files(erp::Erp& erp) : erp_(erp) {}

    void LookAtRecords(const engine::Table& table) {
        Look(std::string(table.def.name) + ".csv",
             [&] { Call(*erp_.CreateManager(table.Layout()), "GetByKeyRange"); });
    }

    void LookAtTrail(const engine::Table& table) {
        Look(std::string(table.def.name) + ".audit.csv", [&] {
            const ObjectRef criteria = erp_.CreateObject("com.orva.erp.audit.AuditCriteria");
            for (const std::string_view field : table.def.outputFields)
                Call(*criteria, "addOutputField", std::string(field));
            Call(*erp_.CreateObject("com.orva.erp.audit.AuditReader"), "Initialize",
                 erp_.CreateManager(table.Layout()), erp_.CreateRecord(table.Layout()), criteria);
        });
    }

    void LookAtCalendars() {
        Look("calendars.csv", [&] {
            constexpr int kWidth = 9;
            const std::string last = runtime::MaxKeyString(kWidth);
            Value pageSize = platform::Long{1}, callId = platform::Long{0}, complete = std::string("N");
            Call(*erp_.CreateObject("Calendars.CalendarManager"), "ListUTCActualCalendarForQRX",
                 std::string(), last, std::string(), last, std::string("0000-00-00"),
                 std::string("9999-12-31"), platform::Integer{0}, platform::Integer{2400}, ByRef{pageSize},
                 ByRef{callId}, ByRef{complete});
        });
    }

    const std::vector<std::string>& Names() const { return names_; }
    const std::vector<std::string>& Missing() const { return missing_; }
    const std::vector<std::string>& Wrong() const { return wrong_; }

private:
    template <class Open>
    void Look(const std::string& file, Open open) {
        names_.push_back(file);
        try {
            open();
        } catch (...) {
            const platform::RuntimeError error = platform::CurrentError();
            if (error.number == platform::kFileNotFound)
                missing_.push_back(file);
            else
                wrong_.push_back(platform::OneLine(error.description));
        }
    }

    erp::Erp& erp_;
    std::vector<std::string> names_, missing_, wrong_;
};

void TellOfMoment(const Site& site, const fs::path& directory, const std::vector<std::string>& files) {
    const journal::ExportMoment moment = journal::ExportMomentOf(directory, files, site.parts.Host());
    if (!moment.problem.empty()) site.findings.Note("extract", moment.problem);
    if (!moment.at) return;
    const std::int64_t age = site.process.machine.clock.Now().secondsSince1970 - moment.at->secondsSince1970;
    const std::string text =
        fmt::format("written {}{}", platform::IsoDateTime(*moment.at),
                    age < 0 ? ", which lies ahead of the clock" : ", " + Duration(age) + " ago");
    if (age < 0 || age > platform::kSecondsPerDay)
        site.findings.Note("extract", text);
    else
        site.findings.Ok("extract", text);
}

void CheckFiles(const Site& site, const fs::path& directory) {
    const erp::Notice ignored = [](const std::string&) {};
    const std::unique_ptr<erp::Erp> erp = site.process.erps.Open(site.options.erp, ignored);
    Files files(*erp);
    for (const tables::Definition* definition : tables::Definitions()) {
        files.LookAtRecords(definition());
        files.LookAtTrail(definition());
    }
    files.LookAtCalendars();
    if (!files.Missing().empty())
        site.findings.Wrong("extract",
                            fmt::format("{} of {} has no {}", platform::Shown(directory),
                                        Counted(static_cast<std::int64_t>(files.Names().size()), "file"),
                                        Some(files.Missing())));
    for (const std::string& error : files.Wrong()) site.findings.Wrong("extract", error);
    if (files.Missing().empty() && files.Wrong().empty())
        site.findings.Ok("extract",
                         fmt::format("{}, {}, every column there", platform::Shown(directory),
                                     Counted(static_cast<std::int64_t>(files.Names().size()), "file")));
    TellOfMoment(site, directory, files.Names());
}

}  // namespace

void CheckExtract(const Site& site) {
    const std::string& erp = site.options.erp;
    if (erp.empty())
        return site.findings.Note("extract", "no ERP is named", "name it with --erp extract=DIRECTORY");
    const auto extract = hosting::ExtractOf(erp);
    if (!extract)
        return site.findings.Note("extract", "the ERP's own classes are named; they are not looked at");
    try {
        CheckFiles(site, *extract);
    } catch (...) {
        site.findings.Wrong("extract", platform::OneLine(platform::CurrentError().description));
    }
}

}  // namespace iqrx::qrxctl
