#include "platform/odbc/row_deleter.h"

#include <sql.h>
#include <sqlext.h>

#include <algorithm>
#include <optional>

#include "platform/odbc/parameters.h"
#include "platform/odbc/table.h"
#include "platform/text.h"

namespace iqrx::platform::odbc {

namespace {

// The columns of the primary key; none when the table has none or the driver does not tell.
std::vector<std::string> ReadKey(OdbcConnection& connection, const std::string& table) {
    std::vector<std::string> names;
    std::u16string name = ToUtf16(CatalogName(table, connection.driver.nameCase));
    Handle statement = connection.NewStatement();
    auto result = SQLPrimaryKeysW(statement.Get(), nullptr, 0, nullptr, 0,
                                  reinterpret_cast<SQLWCHAR*>(name.data()), SQL_NTS);
    constexpr SQLUSMALLINT kColumnName = 4;
    while (SQL_SUCCEEDED(result) && SQL_SUCCEEDED(result = SQLFetch(statement.Get()))) {
        std::u16string column(256, u'\0');
        SQLLEN length = 0;
        result = SQLGetData(statement.Get(), kColumnName, SQL_C_WCHAR, column.data(),
                            static_cast<SQLLEN>(column.size() * sizeof(char16_t)), &length);
        // A table of the same name in another schema is found as well; the key is the same there.
        const std::string text = ToUtf8(column.c_str());
        if (std::ranges::find(names, text) == names.end()) names.push_back(text);
    }
    return names;
}

const std::vector<std::string>& KeyOf(OdbcConnection& connection, const std::string& table) {
    const auto known = connection.keys.find(table);
    if (known != connection.keys.end()) return known->second;
    return connection.keys.emplace(table, ReadKey(connection, table)).first->second;
}

// What tells a row from others: conditions with markers for the values that are not Null.
struct Condition {
    std::string text;
    std::vector<Kind> kinds;
    Row values;
};

void Require(OdbcConnection& connection, Condition& condition, const Column& column, const Value& value) {
    condition.text +=
        (condition.text.empty() ? " WHERE " : " AND ") + QuotedName(column.name, connection.driver);
    if (value.Is<Null>()) {
        condition.text += " IS NULL";
        return;
    }
    condition.text += " = ?";
    condition.kinds.push_back(column.kind);
    condition.values.push_back(value);
}

std::optional<Condition> ByKey(OdbcConnection& connection, const std::string& table,
                               const std::vector<Column>& columns, const Row& row) {
    Condition condition;
    for (const std::string& name : KeyOf(connection, table)) {
        const auto column = std::ranges::find_if(
            columns, [&](const Column& each) { return EqualIgnoringCase(each.name, name); });
        if (column == columns.end()) return std::nullopt;
        Require(connection, condition, *column, row[static_cast<std::size_t>(column - columns.begin())]);
    }
    return condition.text.empty() ? std::nullopt : std::optional(condition);
}

Condition ByAllColumns(OdbcConnection& connection, const std::vector<Column>& columns, const Row& row) {
    Condition condition;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        const Kind kind = columns[i].kind;
        // Long texts do not compare; real numbers and fractions of seconds are not what they were.
        if (kind != Kind::LongText && kind != Kind::Single && kind != Kind::Double && kind != Kind::Date)
            Require(connection, condition, columns[i], row[i]);
    }
    return condition;
}

}  // namespace

void DeleteRow(OdbcConnection& connection, const std::string& table, const std::vector<Column>& columns,
               const Row& row) {
    const auto byKey = ByKey(connection, table, columns, row);
    const Condition condition = byKey ? *byKey : ByAllColumns(connection, columns, row);
    if (!byKey) {
        PreparedText count(connection, "SELECT COUNT(*) FROM " + table + condition.text, condition.kinds);
        if (count.ReadNumber(condition.values) > 1)
            connection.Raise(kNotUpdatable, "The row of " + table +
                                                " can't be told from others that hold the same values; "
                                                "nothing was deleted. The table needs a primary key");
    }
    PreparedText text(connection, "DELETE FROM " + table + condition.text, condition.kinds);
    if (connection.InGroup(table, [&] { return text.Execute({condition.values}); }) == 0)
        connection.Raise(
            kDatabaseError,
            "the row of " + table + " is not there any more: it was changed or deleted since it was read");
}

}  // namespace iqrx::platform::odbc
