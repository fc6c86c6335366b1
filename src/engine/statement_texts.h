// The statements of one record.
#pragma once

#include <array>
#include <string>

#include "engine/table.h"
#include "platform/object.h"

namespace iqrx::engine {

enum class AskDates { First, InTheirPlace };

// Asks the record's getters afresh for each statement, in the order of its text; dates are asked and
// converted first, in column order, once for all statements of the record, unless `askDates` leaves them in
// their place. Everything is borrowed.
class StatementTexts {
public:
    StatementTexts(const Table& table, platform::Object& record, const std::string& tableName,
                   const runtime::SqlLiterals& literals, AskDates askDates = AskDates::First);

    std::string Text(const Statement& statement) const;

private:
    const Table& table_;
    platform::Object& record_;
    const std::string& tableName_;
    const runtime::SqlLiterals& literals_;
    std::array<std::string, 40> dates_;  // by column
};

}  // namespace iqrx::engine
