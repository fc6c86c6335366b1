// A removal that the guard refused.
#pragma once

#include <cstdint>
#include <string>

namespace iqrx::platform::watch {

struct RefusedRemoval {
    std::string table;                 // in lower case
    std::int64_t removed = 0, of = 0;  // rows that it would come to, of those that were there before the copy
    std::string limit;                 // "limit 10 %", "limit 37 rows", "limit: never all rows"

    // "would remove 37 of 40 rows (92 %, limit 10 %)"
    std::string Text() const;
};

}  // namespace iqrx::platform::watch
