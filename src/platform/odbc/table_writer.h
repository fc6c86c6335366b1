// Writes the rows of a recordset's table: adds them through one INSERT with bound values, many to an
// execution where the driver can, and deletes them by searched DELETEs. Positioned ones need cursors that few
// drivers offer and that would have to stay open.
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/odbc/parameters.h"

namespace iqrx::platform::odbc {

class TableWriter {
public:
    // The columns are those of the rows, and must outlive this.
    TableWriter(OdbcConnection& connection, std::string table, const std::vector<Column>& columns)
        : connection_(connection), table_(std::move(table)), columns_(columns) {}

    // A row in the order of the columns; an Empty value is left to the column's default. Sends the rows that
    // wait when they fill an execution or when the new row fills other columns.
    void Add(const Row& row);
    // Sends the rows that wait; they are forgotten even when that fails.
    void Send();
    void Drop() { waiting_.clear(); }

    // Deletes the one row that holds these values: by the table's primary key, or by all columns whose values
    // compare exactly where it has none. Raises RuntimeError when no row holds them any more or when they
    // don't tell it from others; nothing is deleted then.
    void Delete(const Row& row);

private:
    // What tells a row from others: markers stand for the values that are not Null.
    struct Condition {
        std::string text;
        std::vector<Kind> kinds;
        Row values;
    };

    void Prepare(std::vector<std::size_t> used);
    const std::vector<std::string>& Key();
    std::vector<std::string> ReadKey();
    void Require(Condition& condition, const Row& row, std::size_t column) const;
    Condition ByKey(const Row& row);
    Condition ByAllColumns(const Row& row) const;

    OdbcConnection& connection_;
    const std::string table_;
    const std::vector<Column>& columns_;
    std::vector<std::size_t> used_;  // the columns that the waiting rows fill
    std::unique_ptr<PreparedText> insert_;
    std::vector<Row> waiting_;
};

}  // namespace iqrx::platform::odbc
