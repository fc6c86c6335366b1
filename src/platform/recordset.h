// Rows of the database, opened on a statement. The members mirror ADO's.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/statement.h"
#include "platform/value.h"

namespace iqrx::platform {

// How connections and recordsets refuse calls that their state does not allow: the numbers that ADO has
// for them.
enum RecordsetError : std::int32_t {
    kNoCurrentRecord = -2146825267,
    kItemNotFound = -2146825023,
    kObjectClosed = -2146824584,
    kObjectOpen = -2146824583,
    kNotUpdatable = -2146825037,
};

enum class CursorType : int { ForwardOnly = 0, Keyset = 1, Dynamic = 2, Static = 3 };
enum class LockType : int { ReadOnly = 1, Pessimistic = 2, Optimistic = 3 };

class Recordset {
public:
    virtual ~Recordset() = default;  // closes

    // Every member raises RuntimeError on failure, after the connection's Errors were filled.
    virtual void Open(const Statement& source, CursorType cursor, LockType lock) = 0;
    virtual void Close() = 0;

    virtual bool Bof() const = 0;
    virtual bool Eof() const = 0;
    virtual std::int32_t RecordCount() = 0;
    virtual void MoveFirst() = 0;
    virtual void MoveNext() = 0;

    // Fields of the current row by name (not case-sensitive) or by position from 0, with the type of the
    // column.
    virtual Value Field(std::string_view name) = 0;
    virtual Value Field(int position) = 0;
    virtual std::vector<std::string> FieldNames() = 0;  // by position, also where there is no row

    // A new row: AddNew, its fields by position, Update. The row is in the table when Update returns or,
    // where the adapter sends rows in batches, when Close does.
    virtual void AddNew() = 0;
    virtual void SetField(int position, const Value& value) = 0;
    virtual void Update() = 0;

    virtual void Delete() = 0;  // the current row
};

}  // namespace iqrx::platform
