// The statements of one record.
#pragma once

#include <array>
#include <cstddef>
#include <memory_resource>
#include <string>
#include <vector>

#include "engine/table.h"

namespace iqrx::engine {

enum class AskDates { First, InTheirPlace };

// Asks the record for its values afresh for each statement, in the order of its holes, unless it has them at
// hand; dates are asked and converted first, in column order, once for all statements of the record, unless
// `askDates` leaves them in their place. Everything is borrowed.
class RecordStatements {
public:
    RecordStatements(const Table& table, platform::Object& record, const std::string& tableName,
                     const runtime::SqlLiterals& literals, AskDates askDates = AskDates::First);

    // Valid until another one is filled.
    platform::Statement Fill(const TableStatement& statement);
    // Appends the values of a statement. Their texts lie in the record and in this object.
    template <class Literals>
    void AppendValues(const TableStatement& statement, Literals& values) {
        for (const std::size_t column : statement.columns) values.push_back(ValueOf(column));
    }
    // What the texts of the values lie in, beside the record: for who needs them longer.
    KeptValues TakeKept() { return std::move(kept_); }

private:
    const Literal& ValueOf(std::size_t column);
    Literal Converted(std::size_t column);
    std::string PlaceOf(const Column& failed) const;
    std::string Shown(const Column& key) const;

    const Table& table_;
    platform::Object& record_;
    const std::string& tableName_;
    const runtime::SqlLiterals& literals_;
    std::span<const Value> atHand_;     // by place; empty where the record must be asked by name
    std::array<std::byte, 4096> room_;  // for the literals of most tables
    std::pmr::monotonic_buffer_resource memory_{room_.data(), room_.size()};
    std::pmr::vector<Literal> byColumn_{&memory_}, values_{&memory_};
    std::uint64_t known_ = 0;  // a bit for each column whose literal need not be asked for again
    KeptValues kept_;
};

}  // namespace iqrx::engine
