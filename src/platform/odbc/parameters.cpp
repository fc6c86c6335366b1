#include "platform/odbc/parameters.h"

#include <sql.h>
#include <sqlext.h>

#include <algorithm>
#include <cstring>

#include "platform/conversions.h"
#include "platform/date.h"
#include "platform/text.h"

namespace iqrx::platform::odbc {

static_assert(sizeof(SQLLEN) == sizeof(std::int64_t));

namespace {

constexpr std::size_t kMostSets = 500;
constexpr std::size_t kLongestShortText = 4000;  // UTF-16 units; longer ones are long texts to all servers

template <class Native, class Convert>
ParameterArray ArrayOf(SQLSMALLINT valueType, SQLSMALLINT sqlType, std::size_t size,
                       const std::vector<const Value*>& values, Convert convert) {
    ParameterArray array{valueType, sqlType, size, sizeof(Native), {}, {}};
    array.values.resize(values.size() * sizeof(Native));
    for (std::size_t i = 0; i < values.size(); ++i) {
        const bool null = values[i]->Is<Null>() || values[i]->Is<Empty>();
        array.lengths.push_back(null ? SQL_NULL_DATA : static_cast<std::int64_t>(sizeof(Native)));
        if (null) continue;
        const Native native = convert(*values[i]);
        std::memcpy(array.values.data() + i * sizeof(Native), &native, sizeof native);
    }
    return array;
}

SQL_TIMESTAMP_STRUCT Timestamp(const Value& value) {
    const CivilTime time = ToCivil(ToDate(value));
    return {static_cast<SQLSMALLINT>(time.year),
            static_cast<SQLUSMALLINT>(time.month),
            static_cast<SQLUSMALLINT>(time.day),
            static_cast<SQLUSMALLINT>(time.hour),
            static_cast<SQLUSMALLINT>(time.minute),
            static_cast<SQLUSMALLINT>(time.second),
            0};
}

SQL_TIME_STRUCT TimeOnly(const Value& value) {
    const CivilTime time = ToCivil(ToDate(value));
    return {static_cast<SQLUSMALLINT>(time.hour), static_cast<SQLUSMALLINT>(time.minute),
            static_cast<SQLUSMALLINT>(time.second)};
}

ParameterArray TextArray(const std::vector<const Value*>& values, bool isLong) {
    std::vector<std::u16string> texts;
    std::size_t longest = 1;
    ParameterArray array{SQL_C_WCHAR, 0, 0, 0, {}, {}};
    for (const Value* value : values) {
        const bool null = value->Is<Null>() || value->Is<Empty>();
        texts.push_back(null ? std::u16string() : ToUtf16(ToText(*value)));
        longest = std::max(longest, texts.back().size());
        array.lengths.push_back(null ? SQL_NULL_DATA
                                     : static_cast<std::int64_t>(texts.back().size() * sizeof(char16_t)));
    }
    array.sqlType = isLong || longest > kLongestShortText ? SQL_WLONGVARCHAR : SQL_WVARCHAR;
    array.columnSize = longest;
    array.width = (longest + 1) * sizeof(char16_t);
    array.values.resize(values.size() * array.width);
    for (std::size_t i = 0; i < texts.size(); ++i)
        std::memcpy(array.values.data() + i * array.width, texts[i].data(), texts[i].size() * sizeof(char16_t));
    return array;
}

ParameterArray MakeArray(Kind kind, const std::vector<const Value*>& values) {
    switch (kind) {
        case Kind::Boolean:
            return ArrayOf<SQLINTEGER>(SQL_C_SLONG, SQL_BIT, 1, values,
                                       [](const Value& value) { return ToBoolean(value) ? 1 : 0; });
        case Kind::Byte:
        case Kind::Integer:
        case Kind::Long:
            return ArrayOf<SQLINTEGER>(SQL_C_SLONG, SQL_INTEGER, 10, values, ToLong);
        case Kind::Single:
        case Kind::Double:
        case Kind::BigNumber:
            return ArrayOf<SQLDOUBLE>(SQL_C_DOUBLE, SQL_DOUBLE, 15, values, ToDouble);
        case Kind::Date:
            return ArrayOf<SQL_TIMESTAMP_STRUCT>(SQL_C_TYPE_TIMESTAMP, SQL_TYPE_TIMESTAMP, 19, values,
                                                 Timestamp);
        case Kind::TimeOfDay:
            return ArrayOf<SQL_TIME_STRUCT>(SQL_C_TYPE_TIME, SQL_TYPE_TIME, 8, values, TimeOnly);
        case Kind::Text:
        case Kind::LongText:
            break;
    }
    return TextArray(values, kind == Kind::LongText);
}

}  // namespace

PreparedText::PreparedText(OdbcConnection& connection, std::string_view text, std::vector<Kind> kinds)
    : connection_(connection), statement_(connection.NewStatement()), kinds_(std::move(kinds)) {
    // A driver without arrays refuses the size, or puts its own in its place.
    SQLULEN sets = 1;
    SQLSetStmtAttrW(statement_.Get(), SQL_ATTR_PARAMSET_SIZE, Number(kMostSets), 0);
    if (SQL_SUCCEEDED(SQLGetStmtAttrW(statement_.Get(), SQL_ATTR_PARAMSET_SIZE, &sets, 0, nullptr)))
        maxSets_ = std::clamp<std::size_t>(sets, 1, kMostSets);
    connection_.Check(connection_.PrepareText(statement_, text), statement_);
}

std::int64_t PreparedText::ReadNumber(const Row& set) {
    const auto arrays = Bind({&set, 1});
    connection_.Check(SQLExecute(statement_.Get()), statement_);
    connection_.Check(SQLFetch(statement_.Get()), statement_);
    SQLBIGINT number = 0;
    SQLLEN length = 0;
    connection_.Check(SQLGetData(statement_.Get(), 1, SQL_C_SBIGINT, &number, sizeof number, &length),
                      statement_);
    connection_.Finish(statement_, SQLMoreResults(statement_.Get()));
    return number;
}

std::int32_t PreparedText::Execute(std::span<const Row> sets) {
    const auto arrays = Bind(sets);
    std::vector<SQLUSMALLINT> status(sets.size(), SQL_PARAM_UNUSED);
    SQLSetStmtAttrW(statement_.Get(), SQL_ATTR_PARAM_STATUS_PTR, status.data(), 0);
    const Result result = SQLExecute(statement_.Get());
    // A failed set among others that went through is a success "with information" to some drivers.
    if (std::ranges::find(status, SQL_PARAM_ERROR) != status.end()) connection_.Raise(statement_);
    const std::int32_t affected = connection_.Finish(statement_, result);
    SQLSetStmtAttrW(statement_.Get(), SQL_ATTR_PARAM_STATUS_PTR, nullptr, 0);
    return affected;
}

// The arrays have to live until the execution is over.
std::vector<ParameterArray> PreparedText::Bind(std::span<const Row> sets) {
    std::vector<ParameterArray> arrays;
    for (std::size_t marker = 0; marker < kinds_.size(); ++marker) {
        std::vector<const Value*> values;
        for (const Row& set : sets) values.push_back(&set[marker]);
        arrays.push_back(MakeArray(kinds_[marker], values));
    }
    SQLSetStmtAttrW(statement_.Get(), SQL_ATTR_PARAMSET_SIZE, Number(sets.size()), 0);
    for (std::size_t i = 0; i < arrays.size(); ++i) {
        auto& array = arrays[i];
        connection_.Check(
            SQLBindParameter(statement_.Get(), static_cast<SQLUSMALLINT>(i + 1), SQL_PARAM_INPUT,
                             array.valueType, array.sqlType, array.columnSize, 0, array.values.data(),
                             static_cast<SQLLEN>(array.width), array.lengths.data()),
            statement_);
    }
    return arrays;
}

}  // namespace iqrx::platform::odbc
