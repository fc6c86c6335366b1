#include "erp/extract/key_blocks.h"

#include <algorithm>
#include <random>

#include "erp/extract_fixture.h"

namespace iqrx::erp::extract {
namespace {

using Texts = std::vector<std::string>;

// More rows than there are blocks, so that blocks are merged.
constexpr int kRecords = 40'000;

std::string KeyOf(int number) { return std::to_string(100'000 + number); }

class OneRecord : public Extract {
protected:
    void WriteTypes(const std::vector<int>& numbers) {
        std::string text = "desc,cstp\n";
        for (const int number : numbers)
            text += "\"line one\nof " + std::to_string(number) + "\"," + KeyOf(number) + "\n";
        Write("tsmdm030.csv", text);
    }
    static std::vector<int> InKeyOrder() {
        std::vector<int> numbers(kRecords);
        for (int i = 0; i < kRecords; ++i) numbers[static_cast<std::size_t>(i)] = i;
        return numbers;
    }
    Texts Fetch(platform::Object& manager, const std::string& key) {
        return Collect(Call(manager, "GetByKeyRange", key, key), "getServiceTypeDescription");
    }
    void ExpectEveryKeyFound() {
        const ObjectRef manager = erp->CreateManager(kTypeTexts);
        for (int number = 0; number < kRecords; number += 1999)
            EXPECT_EQ(Fetch(*manager, KeyOf(number)), Texts{"line one\nof " + std::to_string(number)});
        EXPECT_EQ(Fetch(*manager, KeyOf(kRecords - 1)), Texts{"line one\nof " + std::to_string(kRecords - 1)});
        EXPECT_EQ(Fetch(*manager, KeyOf(-1)), Texts{});
        EXPECT_EQ(Fetch(*manager, KeyOf(kRecords)), Texts{});
        EXPECT_EQ(Fetch(*manager, KeyOf(7) + "x"), Texts{});
    }
};

TEST_F(OneRecord, IsFoundWhileAnotherEnumerationIsHeld) {
    WriteTypes({1, 1, 2});
    const ObjectRef manager = erp->CreateManager(kTypeTexts);
    const ObjectRef held = platform::ToObject(Call(*manager, "GetByKeyRange", KeyOf(1), KeyOf(1)));
    held->Get("nextElement");
    EXPECT_EQ(Fetch(*manager, KeyOf(2)), Texts{"line one\nof 2"});
    EXPECT_EQ(Collect(Value(held), "getServiceTypeDescription"), Texts{"line one\nof 1"});
}

TEST_F(OneRecord, IsFoundInAFileInKeyOrder) {
    WriteTypes(InKeyOrder());
    ExpectEveryKeyFound();
}

TEST_F(OneRecord, IsFoundInAFileInAnyOrder) {
    std::vector<int> numbers = InKeyOrder();
    std::ranges::shuffle(numbers, std::mt19937(1));
    WriteTypes(numbers);
    ExpectEveryKeyFound();
}

TEST_F(OneRecord, ComesWithTheOthersOfTheSameFirstKey) {
    Write("tssoc210.csv", "orno,acln,asta,desc\nO1,10,5,a\nO2,10,5,b\nO2,20,5,c\nO3,10,5,d\nO2,30,5,e\n");
    const ObjectRef manager = erp->CreateManager(kActivities);
    const std::string key = "O2";
    EXPECT_EQ(Collect(Call(*manager, "GetByKeyRange", key, key), "getDescription"), (Texts{"b", "c", "e"}));
    EXPECT_EQ(Collect(Call(*manager, "GetByKeyRange", key, key, Long{20}, Long{30}), "getDescription"),
              (Texts{"c", "e"}));
}

TEST_F(OneRecord, IsFoundWithAsManyBlocksHoweverLongTheFileIs) {
    WriteTypes(InKeyOrder());
    const auto file = std::make_shared<SourceFile>(directory / "tsmdm030.csv", "test");
    const KeyBlocks blocks(Rows(file, kTypeTexts.fields));
    const auto holding = blocks.Holding(KeyOf(12'345));
    ASSERT_EQ(holding.size(), 1U);
    std::uint64_t read = 0;
    Rows rows(file, kTypeTexts.fields);
    rows.Restart(holding);
    while (rows.Next()) ++read;
    EXPECT_GE(read * KeyBlocks::kMostBlocks, static_cast<std::uint64_t>(kRecords));
    EXPECT_LE(read, 4U);
}

}  // namespace
}  // namespace iqrx::erp::extract
