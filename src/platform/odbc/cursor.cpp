#include "platform/odbc/cursor.h"

#include <sql.h>
#include <sqlext.h>

#include <algorithm>
#include <array>

#include "platform/date.h"
#include "platform/number.h"
#include "platform/text.h"

namespace iqrx::platform::odbc {

namespace {

constexpr std::size_t kFirstPiece = 1024, kLargestPiece = 65536;  // UTF-16 units

struct KindOfType {
    SQLSMALLINT type;
    Kind kind;
};

// Every other type is a text.
constexpr std::array kKinds{
    KindOfType{SQL_BIT, Kind::Boolean},           KindOfType{SQL_TINYINT, Kind::Byte},
    KindOfType{SQL_SMALLINT, Kind::Integer},      KindOfType{SQL_INTEGER, Kind::Long},
    KindOfType{SQL_BIGINT, Kind::BigNumber},      KindOfType{SQL_REAL, Kind::Single},
    KindOfType{SQL_FLOAT, Kind::Double},          KindOfType{SQL_DOUBLE, Kind::Double},
    KindOfType{SQL_DECIMAL, Kind::Double},        KindOfType{SQL_NUMERIC, Kind::Double},
    KindOfType{SQL_TYPE_DATE, Kind::Date},        KindOfType{SQL_TYPE_TIMESTAMP, Kind::Date},
    KindOfType{SQL_TYPE_TIME, Kind::TimeOfDay},   KindOfType{SQL_LONGVARCHAR, Kind::LongText},
    KindOfType{SQL_WLONGVARCHAR, Kind::LongText}, KindOfType{SQL_BINARY, Kind::LongText},
    KindOfType{SQL_VARBINARY, Kind::LongText},    KindOfType{SQL_LONGVARBINARY, Kind::LongText},
};

Kind KindOf(SQLSMALLINT type) {
    const auto found = std::ranges::find(kKinds, type, &KindOfType::type);
    return found == kKinds.end() ? Kind::Text : found->kind;
}

Value WholeNumber(std::int64_t number, Kind kind) {
    if (kind == Kind::Byte && std::in_range<Byte>(number)) return static_cast<Byte>(number);
    if (kind <= Kind::Integer && std::in_range<Integer>(number)) return static_cast<Integer>(number);
    return WholeValue(number);
}

}  // namespace

Cursor::Cursor(OdbcConnection& connection, std::string_view text)
    : connection_(connection), statement_(connection.NewStatement()), buffer_(kFirstPiece, u'\0') {
    connection_.Check(connection_.ExecuteText(statement_, text), statement_);
    FindColumns();
}

// The columns of the first result that has any; what stands before it only counts.
void Cursor::FindColumns() {
    SQLSMALLINT count = 0;
    connection_.Check(SQLNumResultCols(statement_.Get(), &count), statement_);
    while (count == 0) {
        const auto result = SQLMoreResults(statement_.Get());
        connection_.Check(result, statement_);
        if (result == SQL_NO_DATA) connection_.Raise(kNotUpdatable, "The text that was opened has no rows");
        connection_.Check(SQLNumResultCols(statement_.Get(), &count), statement_);
    }
    for (SQLUSMALLINT number = 1; number <= count; ++number) {
        std::u16string name(256, u'\0');
        SQLSMALLINT length = 0, type = 0, digits = 0, nullable = 0;
        SQLULEN size = 0;
        connection_.Check(
            SQLDescribeColW(statement_.Get(), number, reinterpret_cast<SQLWCHAR*>(name.data()),
                            static_cast<SQLSMALLINT>(name.size()), &length, &type, &size, &digits, &nullable),
            statement_);
        columns_.push_back({ToUtf8(name.c_str()), KindOf(type)});
    }
}

std::optional<Row> Cursor::Fetch() {
    if (ended_) return std::nullopt;
    const auto result = SQLFetch(statement_.Get());
    connection_.Check(result, statement_);
    if (result == SQL_NO_DATA) {
        ended_ = true;
        connection_.Finish(statement_, SQLMoreResults(statement_.Get()));
        return std::nullopt;
    }
    Row row;
    row.reserve(columns_.size());
    for (std::size_t i = 0; i < columns_.size(); ++i)
        row.push_back(Read(static_cast<std::uint16_t>(i + 1), columns_[i].kind));
    return row;
}

Value Cursor::Read(std::uint16_t number, Kind kind) {
    const auto valueOf = [](const auto& read, auto convert) -> Value {
        return read ? Value(convert(*read)) : Value(Null());
    };
    switch (kind) {
        case Kind::Boolean:
            return valueOf(ReadNative<SQLINTEGER>(number, SQL_C_SLONG), [](auto bit) { return bit != 0; });
        case Kind::Byte:
        case Kind::Integer:
        case Kind::Long:
        case Kind::BigNumber:
            return valueOf(ReadNative<SQLBIGINT>(number, SQL_C_SBIGINT),
                           [&](auto whole) { return WholeNumber(whole, kind); });
        case Kind::Single:
            return valueOf(ReadNative<SQLREAL>(number, SQL_C_FLOAT), [](auto real) { return real; });
        case Kind::Double:
            return valueOf(ReadNative<SQLDOUBLE>(number, SQL_C_DOUBLE), [](auto real) { return real; });
        case Kind::Date:
            return valueOf(ReadNative<SQL_TIMESTAMP_STRUCT>(number, SQL_C_TYPE_TIMESTAMP), [](auto& moment) {
                return FromCivil(
                    {moment.year, moment.month, moment.day, moment.hour, moment.minute, moment.second});
            });
        case Kind::TimeOfDay:
            return valueOf(ReadNative<SQL_TIME_STRUCT>(number, SQL_C_TYPE_TIME), [](auto& time) {
                return FromCivil({1899, 12, 30, time.hour, time.minute, time.second});
            });
        case Kind::Text:
        case Kind::LongText:
            break;
    }
    return valueOf(ReadText(number), [](auto& text) { return text; });
}

template <class Native>
std::optional<Native> Cursor::ReadNative(std::uint16_t number, std::int16_t type) {
    Native native{};
    SQLLEN length = 0;
    connection_.Check(SQLGetData(statement_.Get(), number, type, &native, sizeof native, &length), statement_);
    if (length == SQL_NULL_DATA) return std::nullopt;
    return native;
}

// Asks for pieces until the driver has no more: a text has no largest length.
std::optional<std::string> Cursor::ReadText(std::uint16_t number) {
    std::u16string text;
    for (;;) {
        const auto bytes = static_cast<SQLLEN>(buffer_.size() * sizeof(char16_t));
        SQLLEN length = 0;
        const auto result = SQLGetData(statement_.Get(), number, SQL_C_WCHAR, buffer_.data(), bytes, &length);
        connection_.Check(result, statement_);
        if (result == SQL_NO_DATA) break;
        if (length == SQL_NULL_DATA) return std::nullopt;
        if (length != SQL_NO_TOTAL && length < bytes) {
            text.append(buffer_, 0, static_cast<std::size_t>(length) / sizeof(char16_t));
            break;
        }
        // A driver may end a piece early rather than split a character.
        text.append(buffer_.c_str());
        if (result == SQL_SUCCESS) break;
        buffer_.resize(std::min(buffer_.size() * 8, kLargestPiece));
    }
    return ToUtf8(text);
}

}  // namespace iqrx::platform::odbc
