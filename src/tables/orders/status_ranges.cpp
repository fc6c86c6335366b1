#include "tables/orders/status_ranges.h"

#include <array>

namespace iqrx::tables {

namespace {

constexpr platform::Integer kNoStatus = -1;
constexpr int kLastBit = 7;
constexpr std::array<platform::Integer, 7> kStatusOfBit = {5, 10, 15, 20, 23, 25, 35};

constexpr platform::Integer kAllBut25 = 95;
constexpr platform::Integer kAllBut23And25 = 79;

platform::Integer StatusOfBit(int bit) {
    const auto index = static_cast<std::size_t>(bit);
    return bit >= 0 && index < kStatusOfBit.size() ? kStatusOfBit[index] : kNoStatus;
}

bool IsSet(platform::Integer filterFlag, int bit) { return (filterFlag >> bit & 1) != 0; }

}  // namespace

std::vector<StatusRange> StatusRanges(platform::Integer filterFlag) {
    std::vector<StatusRange> ranges;
    platform::Integer from = kNoStatus, to = kNoStatus;
    for (int bit = 0; bit <= kLastBit; ++bit) {
        const bool set = IsSet(filterFlag, bit);
        if (set && from == kNoStatus) from = StatusOfBit(bit);
        if (!set && from != kNoStatus) to = StatusOfBit(bit - 1);
        // No status belongs to bit 7: a run that reaches it is never closed, and so is never fetched.
        if (bit == kLastBit && from != kNoStatus) to = set ? StatusOfBit(bit) : kStatusOfBit.back();
        if (from != kNoStatus && to != kNoStatus) {
            ranges.push_back({static_cast<platform::Byte>(from), static_cast<platform::Byte>(to)});
            from = to = kNoStatus;
        }
    }
    return ranges;
}

bool FilterIsActive(platform::Integer filterFlag) {
    return filterFlag == kAllBut25 || filterFlag == kAllBut23And25;
}

bool IsExcluded(platform::Integer filterFlag, platform::Long status) {
    return status == 25 || (filterFlag == kAllBut23And25 && status == 23);
}

}  // namespace iqrx::tables
