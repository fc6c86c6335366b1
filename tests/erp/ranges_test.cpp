#include "erp/extract_fixture.h"

namespace iqrx::erp::extract {
namespace {

using Texts = std::vector<std::string>;

constexpr FieldLayout kTimeFields[] = {{"getSolutionTimeInMinutes", "sltt", FieldKind::Real, true},
                                       {"getDescription", "desc"}};
constexpr TableLayout kTimes{"tsclm024", kTimeFields};

class Ranges : public Extract {
protected:
    template <class... Bounds>
    Texts Keys(const TableLayout& table, Bounds... bounds) {
        return Collect(Call(*erp->CreateManager(table), "GetByKeyRange", bounds...),
                       std::string(table.fields[0].getter));
    }
    template <class Bound>
    Texts Statuses(Bound from, Bound to) {
        return Collect(
            Call(*erp->CreateManager(kActivities), "GetByStatusRange", std::string(), Highest(9), from, to),
            "getDescription");
    }
};

TEST_F(Ranges, OfTextsIncludeBothEndsByCharacterCode) {
    Write("tsmdm030.csv", "cstp\nA\nB\nBB\nC\nb\n\xC3\x84\n\"\"\n");
    EXPECT_EQ(Keys(kTypeCodes, std::string("B"), std::string("C")), (Texts{"B", "BB", "C"}));
    EXPECT_EQ(Keys(kTypeCodes, std::string("B"), std::string("B")), (Texts{"B"}));
    EXPECT_EQ(Keys(kTypeCodes, std::string(), Highest(3)), (Texts{"A", "B", "BB", "C", "b", ""}));
}

TEST_F(Ranges, LeaveOutAKeyOfHighestCharactersAsLongAsTheBoundOrLonger) {
    Write("tsmdm030.csv", "cstp,desc\n" + Highest(2) + ",two\n" + Highest(3) + ",three\n" + Highest(4) +
                              ",four\n" + Highest(2) + "A,mixed\n");
    EXPECT_EQ(Collect(Call(*erp->CreateManager(kTypeTexts), "GetByKeyRange", std::string(), Highest(3)),
                      "getServiceTypeDescription"),
              (Texts{"two", "mixed"}));
}

TEST_F(Ranges, OfNumbersCompareByValue) {
    Write("tsclm024.csv", "sltt,desc\n9,\n10,\n100.50,\n0,\n-1,\n100000,\n100000.01,\n");
    EXPECT_EQ(Keys(kTimes, 0.0f, 100000.0f), (Texts{"9", "10", "100.5", "0", "100000"}));
    EXPECT_EQ(Keys(kTimes, std::string("009.00"), std::string("099.99")), (Texts{"9", "10"}));
}

TEST_F(Ranges, LeaveOutANumberThatIsEmpty) {
    Write("tsclm024.csv", "sltt,desc\n,none\n1,one\n");
    EXPECT_EQ(Keys(kTimes, 0.0f, 100000.0f), (Texts{"1"}));
}

TEST_F(Ranges, HoldForEachKeyFieldThatTheyAreGivenFor) {
    Write("tssoc210.csv", "orno,acln,asta,desc\nO1,10,5,a\nO1,20,5,b\nO2,10,5,c\n");
    EXPECT_EQ(Keys(kActivities, std::string("O1"), std::string("O1")), (Texts{"O1", "O1"}));
    EXPECT_EQ(Keys(kActivities, std::string(), Highest(9), Long{9}, Long{10}), (Texts{"O1", "O2"}));
    EXPECT_EQ(Keys(kActivities), (Texts{"O1", "O1", "O2"}));
}

TEST_F(Ranges, BeyondTheKeyAreIgnored) {
    Write("tsmdm030.csv", "cstp,desc\nA,z\n");
    EXPECT_EQ(Keys(kTypeTexts, std::string(), Highest(3), std::string("x"), std::string("y")), (Texts{"A"}));
}

TEST_F(Ranges, ThatLackAnEndAreAnError) {
    Write("tsmdm030.csv", "cstp\nA\n");
    EXPECT_EQ(ErrorOf([&] { Keys(kTypeCodes, std::string()); }), "Wrong number of arguments: 1 instead of 2");
}

TEST_F(Ranges, OfAStatusIncludeBothEnds) {
    Write("tssoc210.csv", "orno,acln,asta,desc\nO1,1,5,a\nO1,2,10,b\nO1,3,23,c\nO1,4,25,d\nO1,5,,e\n");
    EXPECT_EQ(Statuses(platform::Byte{10}, platform::Byte{23}), (Texts{"b", "c"}));
    EXPECT_EQ(Statuses(Long{35}, Long{35}), Texts());
}

TEST_F(Ranges, OfAStatusNeedATableThatHasOne) {
    Write("tsmdm030.csv", "cstp\nA\n");
    EXPECT_EQ(ErrorOf([&] {
                  Call(*erp->CreateManager(kTypeCodes), "GetByStatusRange", std::string(), Highest(3),
                       Long{1}, Long{2});
              }),
              "The table tsmdm030 has no status field");
}

}  // namespace
}  // namespace iqrx::erp::extract
