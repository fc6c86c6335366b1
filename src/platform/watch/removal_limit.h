// How many rows one copy may remove.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace iqrx::platform::watch {

class RemovalLimit {
public:
    // The default: the larger of 10 % and 20 rows, and never all of a table.
    RemovalLimit() = default;
    // "10%" (or "0.5%"), "37" (rows), "any". None: something else, or more than 100 %.
    static std::optional<RemovalLimit> Parse(std::string_view text);

    // Whether a copy may come to `removed` of the `of` rows that were there before it.
    bool Allows(std::int64_t removed, std::int64_t of) const;
    // Whether the last row of a table may go.
    bool AllowsEmptying() const { return kind_ != Kind::Default; }
    bool AllowsAll() const { return kind_ == Kind::Any; }

    std::string Text() const;  // "limit 10 %", "limit 37 rows"; the default shows its share

private:
    enum class Kind { Default, Percent, Rows, Any };
    RemovalLimit(Kind kind, double percent, std::int64_t rows)
        : kind_(kind), percent_(percent), rows_(rows) {}

    Kind kind_ = Kind::Default;
    // Whichever allows more; the one that the limit does not name is 0.
    double percent_ = 10;
    std::int64_t rows_ = 20;
};

struct RemovalLimits {
    RemovalLimit all;
    std::map<std::string, RemovalLimit, std::less<>> ofTable;  // names in lower case

    const RemovalLimit& Of(std::string_view table) const;  // in lower case
};

}  // namespace iqrx::platform::watch
