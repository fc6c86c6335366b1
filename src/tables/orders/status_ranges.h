// Which order statuses a filter flag lets through. The flag is a bit mask over the statuses 5, 10, 15, 20,
// 23, 25 and 35, from bit 0 on.
#pragma once

#include <vector>

#include "platform/value.h"

namespace iqrx::tables {

struct StatusRange {
    platform::Byte from = 0, to = 0;  // both included
    bool operator==(const StatusRange&) const = default;
};

// What a full copy fetches: a range per run of set bits. A flag with bit 7 loses its last run if that run
// reaches bit 6.
std::vector<StatusRange> StatusRanges(platform::Integer filterFlag);

// What an incremental copy filters, for two flags only: with 95 and 79 the status 25, with 79 also 23.
bool FilterIsActive(platform::Integer filterFlag);
bool IsExcluded(platform::Integer filterFlag, platform::Long status);

}  // namespace iqrx::tables
