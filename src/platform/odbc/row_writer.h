// Adds rows to a table through one INSERT with bound values, many to an execution where the driver can.
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/odbc/parameters.h"

namespace iqrx::platform::odbc {

class RowWriter {
public:
    RowWriter(OdbcConnection& connection, std::string table, const std::vector<Column>& columns)
        : connection_(connection), table_(std::move(table)), columns_(columns) {}

    // A row in the order of the columns; an Empty value is left to the column's default. Sends the rows that
    // wait when they fill an execution or when the new row fills other columns.
    void Add(const Row& row);
    // Sends the rows that wait; they are forgotten even when that fails.
    void Send();
    void Drop() { waiting_.clear(); }

private:
    void Prepare();

    OdbcConnection& connection_;
    std::string table_;
    std::vector<Column> columns_;
    std::vector<std::size_t> used_;  // the columns that the waiting rows fill
    std::unique_ptr<PreparedText> insert_;
    std::vector<Row> waiting_;
};

}  // namespace iqrx::platform::odbc
