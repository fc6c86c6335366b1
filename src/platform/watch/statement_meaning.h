// What a statement does to the rows of a table, known from its text; of a shape the text is read once.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>

#include "platform/statement.h"

namespace iqrx::platform::watch {

enum class Deed : std::uint8_t {
    Other,
    Read,
    Mark,   // every row, as one that is to be confirmed
    Sweep,  // deletes what was not confirmed
    Update,
    Insert,  // one row
    Batch,   // inserts or updates a row for each of its sets of values
    Delete,
    Replace,  // deletes the rows of one calendar, or all of them, which come anew
};

// Control tables steer the copy, change logs tell applications of it: neither holds what is copied.
enum class TableKind : std::uint8_t { Copied, ChangeLog, Control };

struct Meaning {
    Deed deed = Deed::Other;
    TableKind kind = TableKind::Copied;
    std::string name;        // as the statement writes it; empty where it names no table
    std::string table = {};  // in lower case, without a schema
    std::size_t holes = 0;   // of a shape: the values in a set

    // What it does to copied rows.
    Deed OnCopiedRows() const { return kind == TableKind::Copied ? deed : Deed::Other; }
};

Meaning MeaningOf(std::string_view text);

// The number of objects in a batch.
std::size_t SetsOf(const Statement& statement, const Meaning& meaning);

// The same rows as a DELETE takes, counted.
std::string CountOfDoomed(std::string_view deleteText);

// Whether it can only be the update or the insert of a row, at a glance: neither marks nor removes.
bool OnlyWritesARow(const Statement& statement);

// Remembers the shapes that it was asked about.
class Meanings {
public:
    const Meaning& Of(const Statement& statement);  // of a shape forever, of a text until the next call
    // Whether every copied row is still there after it.
    bool LeaveCopiedRows(const Statement& statement) {
        return OnlyWritesARow(statement) || Of(statement).kind == TableKind::ChangeLog;
    }

private:
    struct Known {
        Shape::Key shape;
        std::string table;
        Meaning meaning;
    };
    static Meaning Learned(const Statement& statement);

    std::deque<Known> known_;
    std::array<const Known*, 2> usual_{};  // a row has two statements, which take turns
    Meaning last_;
};

}  // namespace iqrx::platform::watch
