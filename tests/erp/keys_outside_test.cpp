// Records whose keys no range holds are not copied: whoever runs the copy is told of them, once.
#include "erp/extract_fixture.h"

namespace iqrx::erp::extract {
namespace {

using Texts = std::vector<std::string>;

class KeysBeyond : public Extract {
protected:
    KeysBeyond() {
        erp = OpenExtract(directory, [this](const std::string& text) { notices.push_back(text); });
    }
    Value Types(platform::Object& manager) {
        return Call(manager, "GetByKeyRange", std::string(), Highest(3));
    }
    Texts Codes(const Value& enumerator) { return Collect(enumerator, "getServiceType"); }
    std::string Lie(const std::string& rest) const { return PathOf("tsmdm030.csv") + ": " + rest; }

    Texts notices;
};

TEST_F(KeysBeyond, OfAListingAreCountedAndToldAtItsEnd) {
    Write("tsmdm030.csv",
          "cstp\nA\n\xC3\x84"
          "01\nB\n" +
              Highest(3) + "\n\xE2\x82\xAC\nC\n");
    const ObjectRef manager = erp->CreateManager(kTypeCodes);
    const Value types = Types(*manager);
    Call(*platform::ToObject(types), "nextElement");
    EXPECT_EQ(notices, Texts());
    EXPECT_EQ(Codes(types), (Texts{"B", "C"}));
    const Texts told{
        Lie("3 records lie outside the key range that the copy asks for, the first is \"\xC3\x84"
            "01\"; "
            "they are not copied")};
    EXPECT_EQ(notices, told);
    EXPECT_EQ(platform::ToBoolean(Call(*platform::ToObject(types), "hasMoreElements")), false);
    EXPECT_EQ(Codes(Types(*manager)), (Texts{"A", "B", "C"}));
    EXPECT_EQ(notices, told) << "once";
}

TEST_F(KeysBeyond, ThatAreOneAreToldInTheSingular) {
    Write("tsmdm030.csv", "cstp\n\"\x7F\r\n\x7F\x7F\"\n" + Highest(3) + "\n");
    Codes(Types(*erp->CreateManager(kTypeCodes)));
    EXPECT_EQ(notices, Texts{Lie("1 record lies outside the key range that the copy asks for, "
                                 "\"\\x7F\\x7F\\x7F\"; it is not copied")});
}

TEST_F(KeysBeyond, OfSeveralFieldsAreToldWhole) {
    Write("tssoc210.csv", "orno,acln,asta,desc\nO1,1,5,a\nO2\t,,5,b\nO3,10000,5,c\n");
    Collect(Call(*erp->CreateManager(kActivities), "GetByKeyRange", std::string(), Highest(9),
                 std::string("0000"), std::string("9999")),
            "getDescription");
    EXPECT_EQ(notices, Texts{PathOf("tssoc210.csv") +
                             ": 2 records lie outside the key range that the copy asks for, the first is "
                             "\"O2\\x09, \"; they are not copied"});
}

TEST_F(KeysBeyond, AreToldOnceOverAllStatusRangesWhileAStatusOutsideIsNone) {
    Write("tssoc210.csv",
          "orno,acln,asta,desc\nO1,1,5,a\n\xC3\x96"
          "2,1,35,b\nO3,1,25,c\n");
    const ObjectRef manager = erp->CreateManager(kActivities);
    for (const Long status : {5, 10, 35})
        Collect(Call(*manager, "GetByStatusRange", std::string(), Highest(9), status, status),
                "getDescription");
    EXPECT_EQ(notices, Texts{PathOf("tssoc210.csv") +
                             ": 1 record lies outside the key range that the copy asks for, \"\xC3\x96"
                             "2\"; it is not copied"});
}

TEST_F(KeysBeyond, OfNoListingAreNotTold) {
    Write("tsmdm030.csv", "cstp\nA\n\xC3\x84\n");
    const ObjectRef manager = erp->CreateManager(kTypeCodes);
    Codes(Call(*manager, "GetByKeyRange", std::string("A"), std::string("A")));
    Codes(Call(*manager, "GetByKeyRange", std::string("\xC3\x84"), std::string("\xC3\x84")));
    Codes(Call(*manager, "GetByKeyRange"));
    EXPECT_EQ(notices, Texts());
}

TEST_F(KeysBeyond, AreNoTroubleWhereNobodyListens) {
    Write("tsmdm030.csv", "cstp\nA\n\xC3\x84\n");
    erp = OpenExtract(directory);
    EXPECT_EQ(Codes(Types(*erp->CreateManager(kTypeCodes))), Texts{"A"});
}

}  // namespace
}  // namespace iqrx::erp::extract
