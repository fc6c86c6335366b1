// The statements of one record.
#pragma once

#include <string>
#include <vector>

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

    // Valid until another text is asked for.
    const std::string& Text(const Statement& statement);

private:
    void AppendColumn(std::size_t index);
    std::string PlaceOf(const Column& failed) const;
    std::string Shown(const Column& key) const;

    const Table& table_;
    platform::Object& record_;
    const std::string& tableName_;
    const runtime::SqlLiterals& literals_;
    std::string sql_;
    std::vector<std::string> dates_;  // by column; empty for a table without dates
};

}  // namespace iqrx::engine
