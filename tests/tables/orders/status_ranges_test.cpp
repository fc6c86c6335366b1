#include "tables/orders/change_logged_copy.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace iqrx::tables {

void PrintTo(const StatusRange& range, std::ostream* out) { *out << +range.from << " to " << +range.to; }

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// The runs of consecutive set bits, read off the flag's digits, least bit first: a run over bits 0 to 6 is
// fetched from the status of its first bit to that of its last; a run that goes on over bit 7 is not fetched.
std::vector<StatusRange> RunsInDigits(int flag) {
    constexpr platform::Byte kStatuses[] = {5, 10, 15, 20, 23, 25, 35};
    std::string digits;
    for (int bit = 0; bit < 8; ++bit) digits += flag / (1 << bit) % 2 == 1 ? '1' : '0';
    std::vector<StatusRange> runs;
    for (auto first = digits.find('1'); first != std::string::npos;) {
        const auto end = std::min(digits.find('0', first), digits.size());
        if (end < digits.size()) runs.push_back({kStatuses[first], kStatuses[end - 1]});
        first = digits.find('1', end);
    }
    return runs;
}

TEST(StatusRanges, AreTheRunsOfSetBitsForEveryFilterFlag) {
    for (platform::Integer flag = 0; flag < 256; ++flag)
        EXPECT_EQ(StatusRanges(flag), RunsInDigits(flag)) << "filter flag " << flag;
}

TEST(StatusRanges, OfTheFlagsInUse) {
    EXPECT_THAT(StatusRanges(0), IsEmpty());
    EXPECT_THAT(StatusRanges(95), ElementsAre(StatusRange{5, 23}, StatusRange{35, 35}));
    EXPECT_THAT(StatusRanges(79), ElementsAre(StatusRange{5, 20}, StatusRange{35, 35}));
    EXPECT_THAT(StatusRanges(127), ElementsAre(StatusRange{5, 35}));
}

TEST(StatusRanges, LoseTheRunThatGoesOnOverBit7) {
    EXPECT_THAT(StatusRanges(128), IsEmpty());
    EXPECT_THAT(StatusRanges(255), IsEmpty());
    EXPECT_THAT(StatusRanges(128 + 1), ElementsAre(StatusRange{5, 5}));
    EXPECT_THAT(StatusRanges(128 + 64 + 1), ElementsAre(StatusRange{5, 5}));
}

TEST(StatusFilter, IsActiveFor95And79Alone) {
    for (platform::Integer flag = 0; flag < 256; ++flag)
        EXPECT_EQ(FilterIsActive(flag), flag == 95 || flag == 79) << "filter flag " << flag;
}

TEST(StatusFilter, ExcludesStatus25AndUnder79AlsoStatus23) {
    for (const int status : {5, 10, 15, 20, 35}) {
        EXPECT_FALSE(IsExcluded(95, status)) << status;
        EXPECT_FALSE(IsExcluded(79, status)) << status;
    }
    EXPECT_TRUE(IsExcluded(95, 25));
    EXPECT_TRUE(IsExcluded(79, 25));
    EXPECT_FALSE(IsExcluded(95, 23));
    EXPECT_TRUE(IsExcluded(79, 23));
}

}  // namespace
}  // namespace iqrx::tables
