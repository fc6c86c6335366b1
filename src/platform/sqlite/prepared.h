// A prepared statement, what its columns hold, and a translated statement with what is prepared for it.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/dialect/programs.h"
#include "platform/sqlite/database.h"
#include "platform/value.h"

struct sqlite3_stmt;

namespace iqrx::platform::sqlite {

// How a column's values come back, from its declared type; Stored: as what they are stored.
enum class ColumnType { Stored, Date, Real };

struct Column {
    std::string name;
    ColumnType type;
};

class Prepared {
public:
    Prepared() = default;
    Prepared(Database& database, std::string_view sql);

    // Binding, places from 1. The statement must be reset; texts are not copied unless said, and must stay
    // until it is reset.
    void Bind(int place, const Literal& literal, bool copy = false);
    void Bind(int place, const Value& value);
    void BindAll(std::span<const Literal* const> literals, bool copy = false);  // null: stays bound

    bool Step();  // true: a row is there; false: done. Raises, and then the statement is reset.
    void Reset();

    std::vector<Column> Columns() const;
    std::size_t ColumnCount() const;
    std::int64_t Whole(int column) const;
    Value Field(int column, ColumnType type) const;

private:
    struct Finalize {
        void operator()(sqlite3_stmt* handle) const;
    };
    void Check(int code) const;

    std::unique_ptr<sqlite3_stmt, Finalize> handle_;
};

// Resets a statement at the end of the scope, so that it holds no lock.
class ResetAtEnd {
public:
    explicit ResetAtEnd(Prepared& statement) : statement_(statement) {}
    ~ResetAtEnd() { statement_.Reset(); }
    ResetAtEnd(const ResetAtEnd&) = delete;
    ResetAtEnd& operator=(const ResetAtEnd&) = delete;

private:
    Prepared& statement_;
};

using dialect::Found;

struct Program : dialect::Program {
    std::vector<Prepared> statements;                    // of the translation, in its order
    std::shared_ptr<const std::vector<Column>> columns;  // of a select

    // Of this program; what a step of it takes.
    void Bind(const Found& found, Prepared& statement, std::size_t set, std::size_t first, std::size_t count) {
        boundBy = nullptr;
        statement.BindAll(found.Of(set, first, count));
        boundBy = found.form;
    }
};

// Raises when the statements do not fit the database.
std::shared_ptr<Program> Prepare(Database& database, dialect::Translation translation);
inline Program& ProgramOf(const Found& found) { return static_cast<Program&>(*found.program); }

}  // namespace iqrx::platform::sqlite
