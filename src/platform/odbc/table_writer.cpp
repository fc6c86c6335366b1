#include "platform/odbc/table_writer.h"

#include <sql.h>
#include <sqlext.h>

#include <algorithm>

#include "platform/text.h"

namespace iqrx::platform::odbc {

void TableWriter::Add(const Row& row) {
    std::vector<std::size_t> used;
    Row values;
    for (std::size_t i = 0; i < row.size(); ++i)
        if (!row[i].Is<Empty>()) {
            used.push_back(i);
            values.push_back(row[i]);
        }
    if (used.empty()) connection_.Raise(kNotUpdatable, "A new row has no field set");
    if (used != used_) {
        Send();
        Prepare(std::move(used));
    }
    waiting_.push_back(std::move(values));
    if (waiting_.size() >= insert_->MaxSets()) Send();
}

void TableWriter::Send() {
    const auto rows = std::exchange(waiting_, {});
    if (!rows.empty()) connection_.InGroup(table_, [&] { return insert_->Execute(rows); });
}

void TableWriter::Prepare(std::vector<std::size_t> used) {
    used_.clear();
    std::string names, markers;
    std::vector<Kind> kinds;
    for (const std::size_t column : used) {
        names += (names.empty() ? "" : ",") + connection_.driver.Quoted(columns_[column].name);
        markers += markers.empty() ? "?" : ",?";
        kinds.push_back(columns_[column].kind);
    }
    insert_ = std::make_unique<PreparedText>(
        connection_, "INSERT INTO " + table_ + " (" + names + ") VALUES (" + markers + ")", std::move(kinds));
    used_ = std::move(used);
}

void TableWriter::Delete(const Row& row) {
    Condition condition = ByKey(row);
    if (condition.text.empty()) {
        condition = ByAllColumns(row);
        PreparedText count(connection_, "SELECT COUNT(*) FROM " + table_ + condition.text, condition.kinds);
        if (count.ReadNumber(condition.values) > 1)
            connection_.Raise(kNotUpdatable, "The row of " + table_ +
                                                 " can't be told from others that hold the same values; "
                                                 "nothing was deleted. The table needs a primary key");
    }
    PreparedText text(connection_, "DELETE FROM " + table_ + condition.text, condition.kinds);
    if (connection_.InGroup(table_, [&] { return text.Execute({&condition.values, 1}); }) == 0)
        connection_.Raise(
            kDatabaseError,
            "the row of " + table_ + " is not there any more: it was changed or deleted since it was read");
}

// Empty where the table has no key or the rows lack a column of it.
TableWriter::Condition TableWriter::ByKey(const Row& row) {
    Condition condition;
    for (const std::string& name : Key()) {
        const auto column = std::ranges::find_if(
            columns_, [&](const Column& each) { return EqualIgnoringCase(each.name, name); });
        if (column == columns_.end()) return {};
        Require(condition, row, static_cast<std::size_t>(column - columns_.begin()));
    }
    return condition;
}

TableWriter::Condition TableWriter::ByAllColumns(const Row& row) const {
    Condition condition;
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        const Kind kind = columns_[i].kind;
        // Long texts do not compare; real numbers and fractions of seconds are not what they were.
        if (kind != Kind::LongText && kind != Kind::Single && kind != Kind::Double && kind != Kind::Date)
            Require(condition, row, i);
    }
    return condition;
}

void TableWriter::Require(Condition& condition, const Row& row, std::size_t column) const {
    condition.text += (condition.text.empty() ? " WHERE " : " AND ") +
                      connection_.driver.Quoted(columns_[column].name) +
                      (row[column].Is<Null>() ? " IS NULL" : " = ?");
    if (row[column].Is<Null>()) return;
    condition.kinds.push_back(columns_[column].kind);
    condition.values.push_back(row[column]);
}

const std::vector<std::string>& TableWriter::Key() {
    const auto known = connection_.keys.find(table_);
    if (known != connection_.keys.end()) return known->second;
    return connection_.keys.emplace(table_, ReadKey()).first->second;
}

// The columns of the primary key; none when the table has none or the driver does not tell.
std::vector<std::string> TableWriter::ReadKey() {
    std::vector<std::string> names;
    std::u16string name = ToUtf16(CatalogName(table_, connection_.driver.nameCase));
    Handle statement = connection_.NewStatement();
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

}  // namespace iqrx::platform::odbc
