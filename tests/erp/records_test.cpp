#include "erp/extract_fixture.h"

namespace iqrx::erp::extract {
namespace {

class Records : public Extract {
protected:
    Value All() { return Call(*erp->CreateManager(table), "GetByKeyRange", std::string(), Highest(3)); }

    std::vector<std::string> AllTypes(const std::string& getter = "getServiceType") {
        return Collect(All(), getter);
    }

    // What reading the whole file complains about.
    std::string Complaint(std::string_view text) {
        Write("tsmdm030.csv", text);
        return ErrorOf([&] { AllTypes(); });
    }

    TableLayout table = kTypeTexts;
};

using Texts = std::vector<std::string>;

TEST_F(Records, ComeInTheFilesOrderWithColumnsFoundByName) {
    Write("tsmdm030.csv", "desc,unknown,cstp\nSecond,x,B\nFirst,y,A\n");
    EXPECT_EQ(AllTypes(), (Texts{"B", "A"}));
    EXPECT_EQ(AllTypes("getServiceTypeDescription"), (Texts{"Second", "First"}));
}

TEST_F(Records, CarryValuesOfTheirFieldsKinds) {
    table = kTypes;
    Write("tsmdm030.csv", "cstp,desc,dahe,rate,ordt\nA, text ,1,-12.50,2009-05-07 08:00:59\n");
    const Value all = All();
    const ObjectRef record = platform::ToObject(Call(*platform::ToObject(all), "nextElement"));
    EXPECT_EQ(record->Get("getServiceTypeDescription"), Value(std::string(" text ")));
    EXPECT_EQ(record->Get("getGenDefaultAssignment"), Value(Long{1}));
    EXPECT_EQ(record->Get("getRate"), Value(-12.5));
    EXPECT_EQ(record->Get("getOrderDate"), Value(At("2009-05-07 08:00:59")));
}

TEST_F(Records, ReadAnEmptyCellAsTheEmptyTextOrNull) {
    table = kTypes;
    Write("tsmdm030.csv", "cstp,desc,dahe,rate,ordt\nA,,,,\nB,,2,3,2009-05-07\n");
    EXPECT_EQ(AllTypes("getServiceTypeDescription"), (Texts{"", ""}));
    EXPECT_EQ(AllTypes("getGenDefaultAssignment"), (Texts{"Null", "2"}));
    EXPECT_EQ(AllTypes("getRate"), (Texts{"Null", "3"}));
    EXPECT_EQ(AllTypes("getOrderDate"), (Texts{"Null", "2009-05-07 00:00:00"}));
}

TEST_F(Records, AnswerEmptyTextZeroOrNullDateWhenTheyAreCreatedEmpty) {
    const ObjectRef record = erp->CreateRecord(kTypes);
    EXPECT_EQ(record->Get("getServiceType"), Value(std::string()));
    EXPECT_EQ(record->Get("getGenDefaultAssignment"), Value(Long{0}));
    EXPECT_EQ(record->Get("getOrderDate"), Value(platform::Null()));
}

TEST_F(Records, MayHaveAByteOrderMarkCarriageReturnsAndNoLastLineEnd) {
    Write("tsmdm030.csv",
          "\xEF\xBB\xBF"
          "cstp,desc\r\nA,\xC3\xA4\r\nB,");
    EXPECT_EQ(AllTypes(), (Texts{"A", "B"}));
    EXPECT_EQ(AllTypes("getServiceTypeDescription"), (Texts{"\xC3\xA4", ""}));
}

TEST_F(Records, MayHoldCommasQuotesAndLineBreaksInsideQuotes) {
    Write("tsmdm030.csv",
          "\"cstp\",desc\nA,\"one, two\"\n\"B\",\"say \"\"hello\"\"\"\nC,\"first\r\nsecond\n\"\nD,\"\"\n"
          "E,\"\"\"\"\n");
    EXPECT_EQ(AllTypes(), (Texts{"A", "B", "C", "D", "E"}));
    EXPECT_EQ(AllTypes("getServiceTypeDescription"),
              (Texts{"one, two", "say \"hello\"", "first\r\nsecond\n", "", "\""}));
}

TEST_F(Records, StayWholeAcrossTheReadAhead) {
    std::string text = "cstp,desc\n";
    Texts expected;
    for (int i = 0; i < 300; ++i) {
        expected.push_back(std::string(static_cast<std::size_t>(977 + i), static_cast<char>('a' + i % 26)) +
                           "\"\n,");
        text += "A,\"" + expected.back().substr(0, expected.back().size() - 3) + "\"\"\n,\"\n";
    }
    expected.push_back(std::string(200'000, 'z'));
    text += "A," + expected.back();
    Write("tsmdm030.csv", text);
    EXPECT_EQ(AllTypes("getServiceTypeDescription"), expected);
}

TEST_F(Records, KeepTheirValuesWhileTheCallerHoldsThem) {
    table = kTypeCodes;
    Write("tsmdm030.csv", "cstp\nA\nB\nC\nD\nE\nF\n");
    const Value all = All();
    std::vector<ObjectRef> held;
    while (platform::ToBoolean(Call(*platform::ToObject(all), "hasMoreElements")))
        held.push_back(platform::ToObject(Call(*platform::ToObject(all), "nextElement")));
    Texts keys;
    for (const ObjectRef& record : held) keys.push_back(TextOf(record->Get("getServiceType")));
    EXPECT_EQ(keys, (Texts{"A", "B", "C", "D", "E", "F"}));
}

TEST_F(Records, OfAFileWithOnlyItsHeaderAreNone) {
    Write("tsmdm030.csv", "cstp,desc\n");
    EXPECT_EQ(AllTypes(), Texts());
}

TEST_F(Records, AreRefusedAfterTheLast) {
    table = kTypeCodes;
    Write("tsmdm030.csv", "cstp\n");
    const Value all = All();
    EXPECT_NE(ErrorOf([&] { Call(*platform::ToObject(all), "nextElement"); }), "(no error)");
}

TEST_F(Records, WithTheSameColumnTwiceAreAnError) {
    EXPECT_TRUE(Contains(Complaint("cstp,desc,desc\n"), "tsmdm030.csv has two columns 'desc'"));
}

TEST_F(Records, WithACellThatIsNotOfItsFieldsKindNameFileLineAndColumn) {
    table = kTypes;
    const std::string header = "cstp,desc,dahe,rate,ordt\n";
    const std::pair<const char*, const char*> cases[] = {
        {"A,,1,,\nB,,one,,\n", "line 3, column 'dahe': 'one' is not a whole number of 32 bits"},
        {"A,,1.5,,\n", "line 2, column 'dahe': '1.5' is not a whole number of 32 bits"},
        {"A,, 1,,\n", "line 2, column 'dahe': ' 1' is not a whole number of 32 bits"},
        {"A,,2147483648,,\n", "line 2, column 'dahe': '2147483648' is not a whole number of 32 bits"},
        {"A,,,\"1,5\",\n", "line 2, column 'rate': '1,5' is not a number"},
        {"A,,,inf,\n", "line 2, column 'rate': 'inf' is not a number"},
        {"A,,,,07/05/2009\n", "line 2, column 'ordt': '07/05/2009' is not a date YYYY-MM-DD HH:MM:SS"},
        {"A,,,,2009-02-29\n", "line 2, column 'ordt': '2009-02-29' is not a date YYYY-MM-DD HH:MM:SS"},
    };
    for (const auto& [rows, expected] : cases)
        EXPECT_EQ(Complaint(header + rows), (directory / "tsmdm030.csv").string() + ", " + expected);
}

TEST_F(Records, ThatAreMalformedNameFileLineAndColumn) {
    const std::pair<const char*, const char*> cases[] = {
        {"cstp,desc\nA\n", "line 2, column 'desc': the row ends before this column"},
        {"cstp,desc\nA,x\n\nB,y\n", "line 3, column 'desc': the row ends before this column"},
        {"cstp,desc\nA,x,y\n", "line 2, column 3: the header has no such column"},
        {"cstp,desc\nA,x\"y\n", "line 2, column 'desc': a quote stands inside an unquoted cell"},
        {"cstp,desc\nA,\"x\"y\n", "line 2, column 'desc': text follows the closing quote"},
        {"cstp,desc\nA,\"x\ny\nB,z\n", "line 2, column 'desc': the quote is not closed"},
        {"cstp,desc\nA\rB,x\n", "line 2, column 'cstp': a carriage return stands outside quotes"},
        {"cstp,\"desc\nA,x\n", "line 1, column 2: the quote is not closed"},
    };
    for (const auto& [text, expected] : cases)
        EXPECT_EQ(Complaint(text), (directory / "tsmdm030.csv").string() + ", " + expected);
}

TEST_F(Records, CountTheLinesInsideQuotesWhenTheyNameALine) {
    table = kTypes;
    const std::string complaint = Complaint("cstp,desc,dahe,rate,ordt\nA,\"1\n2\n3\",1,,\nB,\"4\n5\",x,,\n");
    EXPECT_TRUE(Contains(complaint, "line 6, column 'dahe'")) << complaint;
}

TEST_F(Records, BeforeAMalformedOneAreHandedOut) {
    table = kTypes;
    Write("tsmdm030.csv", "cstp,desc,dahe,rate,ordt\nA,,1,,\nB,,x,,\n");
    const Value all = All();
    platform::Object& elements = *platform::ToObject(all);
    EXPECT_TRUE(platform::ToBoolean(Call(elements, "hasMoreElements")));
    EXPECT_EQ(Call(*platform::ToObject(Call(elements, "nextElement")), "getServiceType"),
              Value(std::string("A")));
    EXPECT_NE(ErrorOf([&] { Call(elements, "hasMoreElements"); }), "(no error)");
}

TEST_F(Records, AnswerNoOtherMembersThanTheirGetters) {
    try {
        erp->CreateRecord(kTypes)->Get("getSkill");
        FAIL();
    } catch (const platform::RuntimeError& error) {
        EXPECT_EQ(error.number, platform::kNoSuchMember);
    }
}

}  // namespace
}  // namespace iqrx::erp::extract
