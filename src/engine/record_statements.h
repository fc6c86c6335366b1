// The statements of one record.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "engine/table.h"

namespace iqrx::engine {

enum class AskDates { First, InTheirPlace };

// Asks the record for its values afresh for each statement, in the order of its holes; dates are asked and
// converted first, in column order, once for all statements of the record, unless `askDates` leaves them in
// their place. Everything is borrowed.
class RecordStatements {
public:
    RecordStatements(const Table& table, platform::Object& record, const std::string& tableName,
                     const runtime::SqlLiterals& literals, AskDates askDates = AskDates::First);

    // Valid until another one is filled.
    platform::Statement Fill(const TableStatement& statement);
    // Appends the values of a statement. Their texts lie in the record and in this object.
    void AppendValues(const TableStatement& statement, std::vector<Literal>& values);
    // What the texts of the values lie in, beside the record: for who needs them longer.
    KeptValues TakeKept() { return std::move(kept_); }

private:
    Literal Converted(const Column& column, std::size_t place);
    Literal ValueOf(std::size_t index);
    std::string PlaceOf(const Column& failed) const;
    std::string Shown(const Column& key) const;

    const Table& table_;
    platform::Object& record_;
    const std::string& tableName_;
    const runtime::SqlLiterals& literals_;
    std::span<const Value> atHand_;              // by place; empty where the record must be asked by name
    std::vector<std::optional<Literal>> dates_;  // by column; empty for a table without dates
    std::vector<Literal> values_;
    KeptValues kept_;
};

}  // namespace iqrx::engine
