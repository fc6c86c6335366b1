// An export that failed must not look like an ERP that has no records: the request that needs the file says
// what is wrong with it, before anybody removes a row.
#include <functional>
#include <ostream>

#include "erp/extract_fixture.h"

namespace iqrx::erp::extract {
namespace {

using Names = std::vector<std::string>;

// A request that needs a file of the extract, and the columns that it asks for.
struct Need {
    std::string name, file;
    Names columns;
    std::function<void(Erp&)> ask;
};
void PrintTo(const Need& need, std::ostream* to) { *to << need.name; }

void AskForKeys(Erp& erp, const std::string& from, const std::string& to) {
    Call(*erp.CreateManager(kTypes), "GetByKeyRange", from, to);
}

void AskForStatuses(Erp& erp) {
    Call(*erp.CreateManager(kActivities), "GetByStatusRange", std::string(), Highest(9), Long{5}, Long{35});
}

void AskForObjects(Erp& erp) {
    Value callId = Long{0}, complete = std::string("N");
    Call(*erp.CreateManager(kObjects), "ListObjects", std::string(), std::string(), Long{0}, Long{750},
         ByRef{callId}, ByRef{complete});
}

void AskForTrail(Erp& erp) {
    const ObjectRef reader = erp.CreateObject("com.orva.erp.audit.AuditReader");
    Value manager = erp.CreateManager(kTypes), record = erp.CreateRecord(kTypes),
          criteria = erp.CreateObject("com.orva.erp.audit.AuditCriteria");
    Call(*platform::ToObject(criteria), "addOutputField", std::string("desc"));
    Call(*platform::ToObject(criteria), "addOutputField", std::string("rate"));
    Call(*reader, "Initialize", ByRef{manager}, ByRef{record}, ByRef{criteria});
}

void AskForCalendars(Erp& erp, const std::string& from, const std::string& to) {
    const ObjectRef manager = erp.CreateObject("Calendars.CalendarManager");
    Value pageSize = Long{750}, callId = Long{0}, complete = std::string("N");
    Call(*manager, "ListUTCActualCalendarForQRX", from, to, std::string(), Highest(6),
         std::string("2009-01-01"), std::string("2038-01-01"), platform::Integer{0}, platform::Integer{2400},
         ByRef{pageSize}, ByRef{callId}, ByRef{complete});
}

const Names kTypeColumns{"cstp", "desc", "dahe", "rate", "ordt"};
const Names kCalendarColumns{"calendar", "availability_type", "start_date",          "start_time", "end_date",
                             "end_time", "cumulative_time",   "cumulative_capacity", "start_utc",  "end_utc"};

const std::vector<Need> kNeeds{
    {"KeyRange", "tsmdm030.csv", kTypeColumns, [](Erp& erp) { AskForKeys(erp, "", Highest(3)); }},
    {"OneKey", "tsmdm030.csv", kTypeColumns, [](Erp& erp) { AskForKeys(erp, "A", "A"); }},
    {"StatusRange", "tssoc210.csv", {"orno", "acln", "asta", "desc"}, AskForStatuses},
    {"Objects", "tscfg200.csv", {"ccfg", "crob", "oseq", "desc"}, AskForObjects},
    {"Trail", "tsmdm030.audit.csv", {"changed_at", "change", "cstp", "desc", "rate"}, AskForTrail},
    {"OneCalendar", "calendars.csv", kCalendarColumns, [](Erp& erp) { AskForCalendars(erp, "001", "001"); }},
    {"Calendars", "calendars.csv", kCalendarColumns, [](Erp& erp) { AskForCalendars(erp, "", Highest(9)); }},
};

std::string Joined(const Names& names, const std::string& separator, const std::string& quote = "") {
    std::string joined;
    for (const std::string& name : names) joined += (joined.empty() ? "" : separator) + quote + name + quote;
    return joined;
}

std::string Utf16(const std::string& text, bool highByteFirst) {
    std::string wide;
    for (const char c : text) (wide += highByteFirst ? '\0' : c) += highByteFirst ? c : '\0';
    return wide;
}

class FailedExport : public Extract, public testing::WithParamInterface<Need> {
protected:
    // What the request complains about when this is the file.
    std::string Complaint(const std::string& text) {
        Write(GetParam().file, text);
        return Complaint();
    }
    std::string Complaint() {
        return ErrorOf([&] { GetParam().ask(*erp); });
    }
    std::string Path() const { return PathOf(GetParam().file); }
    std::string Header() const { return Joined(GetParam().columns, ","); }
};

INSTANTIATE_TEST_SUITE_P(Of, FailedExport, testing::ValuesIn(kNeeds),
                         [](const auto& instance) { return instance.param.name; });

TEST_P(FailedExport, ThatLeftNoFileNamesIt) { EXPECT_EQ(Complaint(), Path() + " does not exist"); }

TEST_P(FailedExport, ThatTookTheDirectoryAlongNamesBoth) {
    std::filesystem::remove_all(directory);
    EXPECT_EQ(Complaint(), Path() + " does not exist: there is no directory " + directory.string());
}

TEST_P(FailedExport, ThatLeftADirectoryInTheFilesPlaceSaysSo) {
    std::filesystem::create_directory(directory / GetParam().file);
    EXPECT_EQ(Complaint(), Path() + " cannot be read: it is a directory");
}

TEST_P(FailedExport, ThatLeftAnEmptyFileSaysSo) {
    for (const char* text : {"", "\xEF\xBB\xBF"})
        EXPECT_EQ(Complaint(text), Path() + " is empty: it lacks even a header row");
}

TEST_P(FailedExport, ThatWroteOnlyTheHeaderIsNone) {
    for (const char* end : {"", "\n", "\r\n"}) EXPECT_EQ(Complaint(Header() + end), "(no error)");
    EXPECT_EQ(Complaint("\xEF\xBB\xBF" + Header() + ",another\n"), "(no error)");
}

TEST_P(FailedExport, ThatLeftAColumnOutNamesIt) {
    for (const std::string& left : GetParam().columns) {
        Names others = GetParam().columns;
        std::erase(others, left);
        EXPECT_EQ(Complaint(Joined(others, ",") + "\n"), Path() + " has no column '" + left + "'");
    }
}

TEST_P(FailedExport, ThatLeftSeveralColumnsOutNamesThemAllInOneLine) {
    EXPECT_EQ(Complaint("another\n"), Path() + " has no columns " + Joined(GetParam().columns, ", ", "'"));
}

TEST_P(FailedExport, ThatIsUtf16SaysSo) {
    const std::string text = Header() + "\r\n";
    for (const std::string& bytes : {"\xFF\xFE" + Utf16(text, false), "\xFE\xFF" + Utf16(text, true),
                                     Utf16(text, false), Utf16(text, true)})
        EXPECT_EQ(Complaint(bytes), Path() + " looks like UTF-16; it must be UTF-8");
}

TEST_P(FailedExport, ThatIsSeparatedByAnotherCharacterSaysSo) {
    const std::pair<std::string, std::string> separators[] = {{";", "';'"}, {"\t", "tabs"}, {"|", "'|'"}};
    for (const auto& [separator, name] : separators)
        for (const std::string quote : {"", "\""})
            EXPECT_EQ(Complaint(Joined(GetParam().columns, separator, quote) + "\n"),
                      Path() + " is separated by " + name + ", not by commas");
}

// Of an incremental copy the columns that nobody asks for may be missing.
TEST_F(Extract, OfATrailNeedsNoColumnThatNobodyAsksFor) {
    Write("tsmdm030.audit.csv", "changed_at,change,cstp,rate,desc\n");
    AskForTrail(*erp);
}

// A misspelt field would read as empty, change after change.
TEST_F(Extract, OfATrailNeedsEveryColumnThatIsAskedFor) {
    const ObjectRef reader = erp->CreateObject("com.orva.erp.audit.AuditReader");
    Value manager = erp->CreateManager(kTypes), record = erp->CreateRecord(kTypes),
          criteria = erp->CreateObject("com.orva.erp.audit.AuditCriteria");
    Call(*platform::ToObject(criteria), "addOutputField", std::string("dsca"));
    Write("tsmdm030.audit.csv", "changed_at,change,cstp,desc\n");
    EXPECT_EQ(ErrorOf([&] { Call(*reader, "Initialize", ByRef{manager}, ByRef{record}, ByRef{criteria}); }),
              PathOf("tsmdm030.audit.csv") + " has no column 'dsca'");
}

class ExtractDirectory : public Extract {
protected:
    static std::string Complaint(const std::filesystem::path& opened) {
        return ErrorOf([&] { OpenExtract(opened); });
    }
};

TEST_F(ExtractDirectory, ThatTheRunParameterLeavesOutIsSaidToBeMissing) {
    EXPECT_EQ(Complaint(""), "The directory is missing from the run parameter, which takes extract=DIRECTORY");
}

TEST_F(ExtractDirectory, ThatDoesNotExistIsNamed) {
    EXPECT_EQ(Complaint("no-such-extract"), "The extract directory no-such-extract does not exist");
}

TEST_F(ExtractDirectory, ThatIsAFileIsNamed) {
    Write("file", "");
    EXPECT_EQ(Complaint(directory / "file"), PathOf("file") + " is not a directory");
}

}  // namespace
}  // namespace iqrx::erp::extract
