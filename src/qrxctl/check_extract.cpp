#include <fmt/format.h>

#include <algorithm>

#include "journal/exported.h"
#include "platform/csv_reader.h"
#include "platform/date.h"
#include "platform/object.h"
#include "platform/printable.h"
#include "qrxctl/checks.h"
#include "qrxctl/lines.h"
#include "qrxctl/moments.h"
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
    Files(erp::Erp& erp, const fs::path& directory) : erp_(erp), directory_(directory) {}

    void LookAtRecords(const engine::Table& table) {
        Look(std::string(table.def.name) + ".csv",
             [&] { Call(*erp_.CreateManager(table.Layout()), "GetByKeyRange"); });
    }

    void LookAtTrail(const engine::Table& table) {
        const std::string file = std::string(table.def.name) + ".audit.csv";
        Look(file, [&] {
            const ObjectRef criteria = erp_.CreateObject("com.orva.erp.audit.AuditCriteria");
            for (const std::string_view field : table.def.outputFields)
                Call(*criteria, "addOutputField", std::string(field));
            Call(*erp_.CreateObject("com.orva.erp.audit.AuditReader"), "Initialize",
                 erp_.CreateManager(table.Layout()), erp_.CreateRecord(table.Layout()), criteria);
            ReadToEnd(directory_ / platform::Path(file));
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

    const std::optional<platform::Date>& EndOfTrail() const { return endOfTrail_; }
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
                wrong_.push_back(platform::OneLine(error.description) + ColumnsOf(file, error.description));
        }
    }

    // Nothing says that changes stand in the order of their moments. Each incremental copy reads every trail
    // from its begin, row by row; once more when somebody asks costs no more than one of these.
    void ReadToEnd(const fs::path& file) {
        platform::CsvReader rows(file, "qrxctl check");
        const std::size_t column = rows.FindColumn("changed_at").value();  // the reader before has seen it
        while (rows.Next()) {
            const auto moment = platform::ParseIsoDate(rows.Cell(column));
            if (!moment) rows.FailAt(column, platform::Quoted(rows.Cell(column)) + " is not a moment");
            if (!endOfTrail_ || *endOfTrail_ < *moment) endOfTrail_ = *moment;
        }
    }

    // What a file has instead of a column that it lacks: as many of its columns as a line holds.
    std::string ColumnsOf(const std::string& file, const std::string& problem) const try {
        constexpr std::string_view kBegin = " (columns: ", kEnd = " and 999 more)";
        if (problem.find(" has no column") == std::string::npos) return {};
        const platform::CsvReader rows(directory_ / platform::Path(file), "qrxctl check");
        std::string text(kBegin);
        std::size_t shown = 0;
        for (const std::string& name : rows.Header()) {
            const std::string next = (shown > 0 ? ", " : "") + platform::Printable(name, kFactWidth);
            if (shown > 0 && text.size() + next.size() + kEnd.size() > kFactWidth) break;
            text += next;
            ++shown;
        }
        const std::size_t more = rows.Header().size() - shown;
        return text + (more > 0 ? fmt::format(" and {} more)", more) : ")");
    } catch (...) {
        return {};  // the file changes just now; what is wrong with it has been said
    }

    erp::Erp& erp_;
    const fs::path& directory_;
    std::optional<platform::Date> endOfTrail_;
    std::vector<std::string> names_, missing_, wrong_;
};

std::string AgoText(std::int64_t seconds) {
    const std::int64_t days = seconds / platform::kSecondsPerDay;
    return (days < 2 ? Duration(seconds) : Counted(days, "day")) + " ago";
}

std::string EndOfTrailText(const std::optional<platform::Date>& end, platform::Date now) {
    if (!end) return "; the trail holds no change";
    if (*end > now) return "; the trail ends " + Minute(*end) + ", which lies ahead of the clock";
    return "; the trail ends " + (platform::DaysBetween(*end, now) == 0 ? "today" : Minute(*end));
}

void TellOfMoment(Site& site, const fs::path& directory, const Files& files) {
    const journal::ExportMoment moment = journal::ExportMomentOf(directory, files.Names(), site.parts.Host());
    if (!moment.problem.empty()) site.findings.Note("extract", moment.problem);
    if (!moment.at) return;
    const platform::Date now = site.process.machine.clock.Now();
    const std::int64_t age = now.secondsSince1970 - moment.at->secondsSince1970;
    const std::string text = fmt::format("written {}, {}{}", Minute(*moment.at),
                                         age < 0 ? "which lies ahead of the clock" : AgoText(age),
                                         EndOfTrailText(files.EndOfTrail(), now));
    if (age < 0 || age > platform::kSecondsPerDay)
        site.findings.Note("extract", text);
    else
        site.findings.Ok("extract", text);
}

void CheckFiles(Site& site, const fs::path& directory) {
    const erp::Notice ignored = [](const std::string&) {};
    const std::unique_ptr<erp::Erp> erp = site.process.erps.Open(site.options.erp, ignored);
    Files files(*erp, directory);
    for (const engine::Table* table : tables::kTables) {
        files.LookAtRecords(*table);
        files.LookAtTrail(*table);
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
    TellOfMoment(site, directory, files);
}

}  // namespace

void CheckExtract(Site& site) {
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
