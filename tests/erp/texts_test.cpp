// The bytes of a text: UTF-8 in the files, one line in the errors.
#include "erp/extract_fixture.h"

namespace iqrx::erp::extract {
namespace {

class BytesOfAFile : public Extract {
protected:
    std::string Complaint(const std::string& text, const TableLayout& table = kTypeTexts) {
        Write("tsmdm030.csv", text);
        return ErrorOf([&] {
            Collect(Call(*erp->CreateManager(table), "GetByKeyRange", std::string(), Highest(3)),
                    "getServiceType");
        });
    }
    std::string At(const std::string& place) const { return PathOf("tsmdm030.csv") + ", " + place; }
};

TEST_F(BytesOfAFile, ThatAreNotUtf8NameFileLineAndColumn) {
    const std::pair<std::string, std::string> cases[] = {
        {"cstp,desc\nA,x\nB,K\xF6ln\n", "line 3, column 'desc': 'K\\xF6ln' is not UTF-8"},
        {"cstp,desc\nA\xFF,x\n", "line 2, column 'cstp': 'A\\xFF' is not UTF-8"},
        {"cstp,desc\nA,\xC3\n", "line 2, column 'desc': '\\xC3' is not UTF-8"},
        {"cstp,desc\nA\xC3,\xA4\n", "line 2, column 'cstp': 'A\\xC3' is not UTF-8"},
        {"cstp,desc\n\"A\n\",\"\xC3\xA4 \xED\xA0\x80\"\n",
         "line 3, column 'desc': '\xC3\xA4 \\xED\\xA0\\x80' is not UTF-8"},
        {"cstp,desc\nA,\"say \"\"\xE4\"\"\n\"\n", "line 2, column 'desc': 'say \"\\xE4\"\\x0A' is not UTF-8"},
        {"cstp,desc,other\nA,x,\xE4\n", "line 2, column 'other': '\\xE4' is not UTF-8"},
        {"cstp,desc,\xE4\nA,x,y\n", "line 1, column 3: '\\xE4' is not UTF-8"},
    };
    for (const auto& [text, expected] : cases) EXPECT_EQ(Complaint(text), At(expected));
}

TEST_F(BytesOfAFile, OfWholeCharactersAreReadWhereverQuotesStandAmongThem) {
    Write("tsmdm030.csv",
          "cstp,desc\n\"A\",\"\"\"\xC3\xA4\"\"\xE2\x82\xAC\"\"\xF0\x9F\x94\xA7\"\"\"\nB,\xC3\xA4\xC3\xA4\n");
    EXPECT_EQ(Collect(Call(*erp->CreateManager(kTypeTexts), "GetByKeyRange", std::string(), Highest(3)),
                      "getServiceTypeDescription"),
              (std::vector<std::string>{"\"\xC3\xA4\"\xE2\x82\xAC\"\xF0\x9F\x94\xA7\"", "\xC3\xA4\xC3\xA4"}));
}

TEST_F(BytesOfAFile, ThatAreNotUtf8StopTheReadersOfTrailsAndCalendarsToo) {
    Write("tsmdm030.audit.csv", "changed_at,change,cstp,desc\n2009-05-07 08:00:00,U,A,K\xF6ln\n");
    const ObjectRef reader = erp->CreateObject("com.orva.erp.audit.AuditReader");
    Value manager = erp->CreateManager(kTypes), record = erp->CreateRecord(kTypes),
          criteria = erp->CreateObject("com.orva.erp.audit.AuditCriteria");
    Call(*reader, "Initialize", ByRef{manager}, ByRef{record}, ByRef{criteria});
    EXPECT_EQ(ErrorOf([&] { Call(*reader, "hasMoreElements"); }),
              PathOf("tsmdm030.audit.csv") + ", line 2, column 'desc': 'K\\xF6ln' is not UTF-8");

    Write("calendars.csv", std::string(kCalendarHeader) + "\nA,W\xD6,2009-05-07,800,2009-05-07,1700,1,1,,\n");
    const ObjectRef calendars = erp->CreateObject("Calendars.CalendarManager");
    Value callId = Long{0}, complete = std::string("N");
    for (int listing = 0; listing < 2; ++listing)
        EXPECT_EQ(ErrorOf([&] { Intervals(*calendars, "A", "A", callId, complete); }),
                  PathOf("calendars.csv") + ", line 2, column 'availability_type': 'W\\xD6' is not UTF-8");
}

TEST_F(BytesOfAFile, ThatControlATerminalOrALogAreShownAsTheirCodes) {
    const std::string columns = "cstp,desc,dahe,rate,ordt";
    EXPECT_EQ(
        Complaint(columns + "\nA,,\"1\r\n20:00:00 all is well\x1B[2J\",,\n", kTypes),
        At("line 2, column 'dahe': '1\\x0D\\x0A20:00:00 all is well\\x1B[2J' is not a whole number of 32 bits"));
    EXPECT_EQ(Complaint(columns + ",\"other\nline\"\nA,,,,\n", kTypes),
              At("line 3, column 'other\\x0Aline': the row ends before this column"));
}

TEST_F(BytesOfAFile, ThatAreManyAreCutInAnErrorAfterAHundredCharacters) {
    const std::string columns = "cstp,desc,dahe,rate,ordt\n";
    std::string hundred, more;
    for (int i = 0; i < 100; ++i) hundred += "\xC3\xA4";
    for (int i = 0; i < 1'000'000; ++i) more += "\xC3\xA4";
    EXPECT_EQ(Complaint(columns + "A,," + hundred + ",,\n", kTypes),
              At("line 2, column 'dahe': '" + hundred + "' is not a whole number of 32 bits"));
    EXPECT_EQ(Complaint(columns + "A,," + hundred + more + ",,\n", kTypes),
              At("line 2, column 'dahe': '" + hundred + "...' is not a whole number of 32 bits"));
}

// Sixteen mebibytes, line end included.
class LongRows : public BytesOfAFile {
protected:
    static constexpr std::size_t kLongest = 16 * 1024 * 1024;

    // A file whose second row is as long as that; its key stands after the long text.
    static std::string WithRowOf(std::size_t length, const std::string& quote) {
        const std::string end = quote + ",B\n";
        return "desc,cstp\nx,A\n" + quote + std::string(length - quote.size() - end.size(), 'x') + end +
               "x,C\n";
    }
};

TEST_F(LongRows, AreReadUpToTheLimit) {
    for (const std::string quote : {"", "\""}) {
        Write("tsmdm030.csv", WithRowOf(kLongest - 1, quote));
        EXPECT_EQ(Collect(Call(*erp->CreateManager(kTypeTexts), "GetByKeyRange", std::string(), Highest(3)),
                          "getServiceType"),
                  (std::vector<std::string>{"A", "B", "C"}));
    }
}

TEST_F(LongRows, AreAnErrorBeyondTheLimit) {
    for (const std::string quote : {"", "\""})
        EXPECT_EQ(Complaint(WithRowOf(kLongest + 1024, quote)),
                  At("line 3, column 'desc': the row is longer than 16 MiB; is a quote not closed?"));
}

}  // namespace
}  // namespace iqrx::erp::extract
