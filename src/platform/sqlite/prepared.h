// A prepared statement and what its columns hold.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/literal.h"
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

}  // namespace iqrx::platform::sqlite
