// Executes a text and reads its rows with the types of their columns.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/odbc/connection.h"
#include "platform/value.h"

namespace iqrx::platform::odbc {

// What a column's values are read and written as.
enum class Kind { Text, LongText, Boolean, Byte, Integer, Long, BigNumber, Single, Double, Date, TimeOfDay };

struct Column {
    std::string name;
    Kind kind = Kind::Text;
};

using Row = std::vector<Value>;

class Cursor {
public:
    // Raises RuntimeError when the text fails or has no result with columns.
    Cursor(OdbcConnection& connection, std::string_view text);

    const std::vector<Column>& Columns() const { return columns_; }
    // The next row, nothing after the last; errors of later results are raised then.
    std::optional<Row> Fetch();

private:
    void FindColumns();
    Value Read(std::uint16_t number, Kind kind);
    template <class Native>
    std::optional<Native> ReadNative(std::uint16_t number, std::int16_t type);
    std::optional<std::string> ReadText(std::uint16_t number);

    OdbcConnection& connection_;
    Handle statement_;
    std::vector<Column> columns_;
    std::u16string buffer_;
    bool ended_ = false;
};

}  // namespace iqrx::platform::odbc
