#include "platform/odbc/row_writer.h"

#include "platform/odbc/table.h"

namespace iqrx::platform::odbc {

void RowWriter::Add(const Row& row) {
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
        used_ = std::move(used);
        Prepare();
    }
    waiting_.push_back(std::move(values));
    if (waiting_.size() >= insert_->MaxSets()) Send();
}

void RowWriter::Send() {
    const auto rows = std::exchange(waiting_, {});
    if (!rows.empty()) connection_.InGroup(table_, [&] { return insert_->Execute(rows); });
}

void RowWriter::Prepare() {
    std::string names, markers;
    std::vector<Kind> kinds;
    for (std::size_t column : used_) {
        names += (names.empty() ? "" : ",") + QuotedName(columns_[column].name, connection_.driver);
        markers += markers.empty() ? "?" : ",?";
        kinds.push_back(columns_[column].kind);
    }
    insert_ = std::make_unique<PreparedText>(
        connection_, "INSERT INTO " + table_ + " (" + names + ") VALUES (" + markers + ")", std::move(kinds));
}

}  // namespace iqrx::platform::odbc
