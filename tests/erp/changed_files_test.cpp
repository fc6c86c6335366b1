// Files that somebody writes to while they are read, in one pass or in several: a mixture of two exports is
// never handed out.
#include "erp/extract_fixture.h"

namespace iqrx::erp::extract {
namespace {

using Texts = std::vector<std::string>;

constexpr int kRows = 6000;  // several read-aheads

std::string Key(int number) { return std::to_string(10'000 + number); }

class ChangedFile : public Extract {
protected:
    ChangedFile() { Write("tssoc210.csv", Activities("old")); }

    static std::string Activities(const std::string& text, int rows = kRows) {
        std::string file = "orno,acln,asta,desc\n";
        for (int i = 0; i < rows; ++i) file += "O" + Key(i) + "," + std::to_string(i) + ",5," + text + "\n";
        return file;
    }
    void Append(const std::string& file, const std::string& text) const {
        std::ofstream(directory / file, std::ios::binary | std::ios::app) << text;
    }
    // As a write some time later would leave it, whatever the file system's clock can tell apart.
    void SetLaterWrite(const std::string& file) const {
        std::filesystem::last_write_time(
            directory / file, std::filesystem::last_write_time(directory / file) + std::chrono::seconds(2));
    }
    // Windows keeps the name of a file that is open: there the old one is moved away first.
    void RenameOver(const std::string& file, const std::string& text) {
        Write("new", text);
        std::error_code refused;
        std::filesystem::rename(directory / "new", directory / file, refused);
        if (!refused) return;
        std::filesystem::rename(directory / file, directory / "old");
        std::filesystem::rename(directory / "new", directory / file);
    }
    ObjectRef BeginActivities() {
        manager = erp->CreateManager(kActivities);
        const ObjectRef elements =
            platform::ToObject(Call(*manager, "GetByKeyRange", std::string(), Highest(9)));
        EXPECT_EQ(TextOf(Call(*platform::ToObject(Call(*elements, "nextElement")), "getDescription")), "old");
        return elements;
    }
    Texts StatusRange(Long from, Long to) {
        return Collect(Call(*manager, "GetByStatusRange", std::string(), Highest(9), from, to),
                       "getDescription");
    }
    Texts OneActivity(int number) {
        const std::string key = "O" + Key(number);
        return Collect(Call(*manager, "GetByKeyRange", key, key), "getDescription");
    }
    std::string Changed(const std::string& file) const {
        return PathOf(file) + ": the file changed while it was read";
    }

    ObjectRef manager;
};

TEST_F(ChangedFile, ThatHasGrownIsAnError) {
    const ObjectRef elements = BeginActivities();
    Append("tssoc210.csv", "O99999,1,5,new\n");
    EXPECT_EQ(ErrorOf([&] { Collect(elements, "getDescription"); }), Changed("tssoc210.csv"));
}

TEST_F(ChangedFile, ThatHasGrownAfterItsLastRowWasReadIsAnErrorToo) {
    Write("tssoc210.csv", Activities("old", 2));
    const ObjectRef elements = BeginActivities();
    Append("tssoc210.csv", "O99999,1,5,new\n");
    EXPECT_EQ(ErrorOf([&] { Collect(elements, "getDescription"); }), Changed("tssoc210.csv"));
}

TEST_F(ChangedFile, ThatWasCutShortIsAnError) {
    for (const std::uintmax_t size : {std::uintmax_t{0}, std::uintmax_t{Activities("old", kRows / 2).size()}}) {
        Write("tssoc210.csv", Activities("old"));
        const ObjectRef elements = BeginActivities();
        std::filesystem::resize_file(directory / "tssoc210.csv", size);
        EXPECT_EQ(ErrorOf([&] { Collect(elements, "getDescription"); }), Changed("tssoc210.csv")) << size;
    }
}

TEST_F(ChangedFile, ThatIsRewrittenInPlaceInItsOldLengthIsAnError) {
    const ObjectRef elements = BeginActivities();
    Write("tssoc210.csv", Activities("new"));
    SetLaterWrite("tssoc210.csv");
    EXPECT_EQ(ErrorOf([&] { Collect(elements, "getDescription"); }), Changed("tssoc210.csv"));
}

TEST_F(ChangedFile, ThatAnotherOneIsRenamedOverIsReadToItsEnd) {
    const ObjectRef elements = BeginActivities();
    RenameOver("tssoc210.csv", Activities("new", 10));
    EXPECT_EQ(Collect(elements, "getDescription"), Texts(kRows - 1, "old"));
    EXPECT_EQ(Collect(Call(*erp->CreateManager(kActivities), "GetByKeyRange", std::string(), Highest(9)),
                      "getDescription"),
              Texts(10, "new"));
}

// An order that leaves one status range for another must not fall between two exports.
TEST_F(ChangedFile, IsAnErrorOfTheNextStatusRange) {
    manager = erp->CreateManager(kActivities);
    EXPECT_EQ(StatusRange(5, 10).size(), std::size_t{kRows});
    Append("tssoc210.csv", "O99999,1,5,new\n");
    EXPECT_EQ(ErrorOf([&] { StatusRange(35, 35); }), Changed("tssoc210.csv"));
}

TEST_F(ChangedFile, ThatAnotherOneIsRenamedOverServesTheNextStatusRangesOfItsManager) {
    manager = erp->CreateManager(kActivities);
    EXPECT_EQ(StatusRange(35, 35), Texts());
    RenameOver("tssoc210.csv", Activities("new"));
    EXPECT_EQ(StatusRange(5, 5), Texts(kRows, "old"));
    Call(*manager, "CloseManager");
    EXPECT_EQ(StatusRange(5, 5), Texts(kRows, "new"));
}

TEST_F(ChangedFile, IsAnErrorOfTheNextFetchOfOneRecord) {
    manager = erp->CreateManager(kActivities);
    EXPECT_EQ(OneActivity(7), Texts{"old"});
    Write("tssoc210.csv", Activities("new"));
    SetLaterWrite("tssoc210.csv");
    EXPECT_EQ(ErrorOf([&] { OneActivity(4000); }), Changed("tssoc210.csv"));
}

TEST_F(ChangedFile, ThatAnotherOneIsRenamedOverServesTheNextFetchesOfItsManager) {
    manager = erp->CreateManager(kActivities);
    EXPECT_EQ(OneActivity(7), Texts{"old"});
    RenameOver("tssoc210.csv", Activities("new", 10));
    EXPECT_EQ(OneActivity(4000), Texts{"old"});
    EXPECT_EQ(OneActivity(7), Texts{"old"});
}

TEST_F(ChangedFile, IsAnErrorOfTheNextPage) {
    std::string objects = "ccfg,crob,oseq,desc\n";
    for (int i = 0; i < kRows; ++i) objects += "C" + Key(i) + ",O,1,an object of some length\n";
    Write("tscfg200.csv", objects);
    manager = erp->CreateManager(kObjects);
    Value callId = Long{0}, complete = std::string("N");
    Objects(*manager, callId, complete, 1);
    Append("tscfg200.csv", "C99999,O,1,new\n");
    EXPECT_EQ(ErrorOf([&] { Objects(*manager, callId, complete, kRows); }), Changed("tscfg200.csv"));
}

TEST_F(ChangedFile, IsAnErrorOfATrail) {
    std::string trail = "changed_at,change,orno,acln\n";
    for (int i = 0; i < kRows; ++i) trail += "2009-05-07 08:00:00,U,O" + Key(i) + ",1\n";
    Write("tssoc210.audit.csv", trail);
    const ObjectRef reader = erp->CreateObject("com.orva.erp.audit.AuditReader");
    Value owner = erp->CreateManager(kActivities), record = erp->CreateRecord(kActivities),
          criteria = erp->CreateObject("com.orva.erp.audit.AuditCriteria");
    Call(*reader, "Initialize", ByRef{owner}, ByRef{record}, ByRef{criteria});
    Call(*reader, "nextElement");
    Append("tssoc210.audit.csv", "2009-05-07 09:00:00,U,O99999,1\n");
    EXPECT_EQ(ErrorOf([&] { Collect(reader, "getServiceOrder"); }), Changed("tssoc210.audit.csv"));
}

class ChangedCalendars : public ChangedFile {
protected:
    ChangedCalendars() : calendars(erp->CreateObject("Calendars.CalendarManager")) {
        Write("calendars.csv", File("1"));
        EXPECT_EQ(SizeOf("A"), 1);
    }
    static std::string File(const std::string& mark) {
        std::string file = std::string(kCalendarHeader) + "\n";
        for (const std::string calendar : {"A", "B", "C"})
            file += calendar + ",WRK,2009-05-07,800,2009-05-07,1700," + mark + ",1,,\n";
        return file;
    }
    Long SizeOf(const std::string& calendar) {
        Value callId = Long{0}, complete = std::string("N");
        const ObjectRef page = Intervals(*calendars, calendar, calendar, callId, complete);
        return platform::ToLong(
            platform::ToObject(page->Get("getUTCActualCalendarForQRXWrapper"))->Get("sizeActualCalendar"));
    }

    ObjectRef calendars;
};

TEST_F(ChangedCalendars, AreAnErrorOfTheNextListing) {
    Write("calendars.csv", File("2"));
    SetLaterWrite("calendars.csv");
    EXPECT_EQ(ErrorOf([&] { SizeOf("B"); }), Changed("calendars.csv"));
    EXPECT_EQ(ErrorOf([&] { SizeOf("C"); }), Changed("calendars.csv"));
}

TEST_F(ChangedCalendars, ThatOthersAreRenamedOverServeTheNextListingsOfTheirService) {
    RenameOver("calendars.csv", std::string(kCalendarHeader) + "\n");
    EXPECT_EQ(SizeOf("B"), 1);
    EXPECT_EQ(SizeOf("A"), 1);
    Call(*calendars, "Close");
    EXPECT_EQ(SizeOf("B"), 0);
}

}  // namespace
}  // namespace iqrx::erp::extract
