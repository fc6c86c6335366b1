#include <algorithm>
#include <limits>
#include <optional>
#include <utility>

#include "platform/dialect/checked_recordset.h"
#include "platform/postgres/connection.h"
#include "platform/postgres/grammar.h"

namespace iqrx::platform::postgres {

namespace {

std::string Quoted(std::string_view name) {
    std::string quoted = "\"";
    for (const char c : name) quoted.append(c == '"' ? 2 : 1, c);
    return quoted + "\"";
}

// Rows are those of the moment at which it was opened, whatever the cursor: few stand in the server's answer,
// of many the server keeps those that are not there yet.
class PostgresRecordset final : public dialect::CheckedRecordset<PostgresRecordset, kGrammar> {
    friend CheckedRecordset;

    template <class Work>
    auto Call(Work work) {
        return connection_.Call(work);
    }

public:
    explicit PostgresRecordset(PostgresConnection& connection) : connection_(connection) {}

    void Open(const platform::Statement& source, CursorType, LockType lock) override {
        Close();
        Call([&] {
            selected_ = connection_.Select(source);
            lock_ = lock;
            columns_ = PQnfields(Rows());
            fetched_ = Held();
        });
    }

    void Close() override {
        if (!selected_) return;
        const std::string cursor = std::exchange(selected_, std::nullopt)->cursor;
        insert_.reset();
        row_ = columns_ = 0;
        fetched_ = 0;
        isAdding_ = isDeleted_ = false;
        Call([&] {
            connection_.SendRows();
            if (!cursor.empty()) connection_.Forget(cursor);
        });
    }

    bool Bof() const override { return Held() == 0 && !HasMany(); }
    bool Eof() const override { return row_ >= Held(); }

    std::int32_t RecordCount() override {
        return Call([&] {
            CheckOpen();
            connection_.SendRows();
            if (!HasMany()) return Held();
            return static_cast<std::int32_t>(std::min<std::int64_t>(
                connection_.CountRows(selected_->cursor, fetched_), std::numeric_limits<std::int32_t>::max()));
        });
    }

    void MoveFirst() override {
        Call([&] {
            CheckOpen();
            if (Bof()) Refuse(kNoCurrentRecord, "The recordset is empty");
            if (fetched_ == Held()) return;
            connection_.Rewind(selected_->cursor);
            fetched_ = 0;
            Fetch();
        });
        row_ = 0;
        isDeleted_ = false;
    }

    void MoveNext() override {
        Call([&] {
            CheckOpen();
            if (Eof()) Refuse(kNoCurrentRecord, "There is no current record");
            if (++row_ == Held() && HasMany()) {
                Fetch();
                row_ = 0;
            }
        });
        isDeleted_ = false;
    }

    void Update() override {
        Call([&] {
            if (!isAdding_) Refuse(kNotUpdatable, "There is no new row");
            isAdding_ = false;
            PrepareInsert();
            parameters_.Clear();
            for (std::size_t i = 0; i < newRow_.size(); ++i)
                parameters_.Add(newRow_[i].value, insert_->Types()[i]);
            connection_.Add(*insert_, parameters_, selected_->touchesControlTable);
        });
    }

    void Delete() override {
        Call([&] {
            CheckRow();
            connection_.SendPending();
            const Condition row = OfTheRow();
            const auto statement = connection_.Prepare("DELETE FROM " + Quoted(Table()) + " WHERE " + row.text);
            parameters_.Clear();
            for (std::size_t i = 0; i < row.positions.size(); ++i)
                parameters_.Add(Cell(row.positions[i]), statement->Types()[i]);
            if (connection_.Write(*statement, parameters_, selected_->touchesControlTable) == 0)
                Refuse(kNotUpdatable, "The current row is no longer in the table");
            isDeleted_ = true;
        });
    }

private:
    const std::vector<std::string>* Tables() const { return selected_ ? &selected_->tables : nullptr; }
    int ColumnCount() const { return columns_; }
    std::string_view NameOf(int position) const { return PQfname(Rows(), position); }
    Value Cell(int position) const { return postgres::Cell(Rows(), row_, position); }
    const PGresult* Rows() const { return selected_->rows.get(); }
    int Held() const { return selected_ ? PQntuples(Rows()) : 0; }
    bool HasMany() const { return selected_ && !selected_->cursor.empty(); }
    void Fetch() {
        selected_->rows = connection_.NextRows(selected_->cursor);
        fetched_ += Held();
    }

    // Fields that were not set take their defaults; so the statement depends on which were.
    void PrepareInsert() {
        std::vector<int> positions;
        for (const NewField& field : newRow_) positions.push_back(field.position);
        if (insert_ && positions == insertedPositions_) return;
        std::string names, places;
        for (std::size_t i = 0; i < positions.size(); ++i) {
            const std::string separator = i == 0 ? "" : ",";
            names += separator + Quoted(NameOf(positions[i]));
            places += separator + "$" + std::to_string(i + 1);
        }
        insert_ = connection_.Prepare(
            "INSERT INTO " + Quoted(Table()) +
            (names.empty() ? std::string(" DEFAULT VALUES") : " (" + names + ") VALUES (" + places + ")"));
        insertedPositions_ = std::move(positions);
    }

    struct Condition {
        std::vector<int> positions;  // of the columns that the row is known by
        std::string text;
    };

    // A row of a table without a key is any that has the same values: one of them is looked up. A partitioned
    // table has each place in every partition.
    Condition OfTheRow() {
        Condition row;
        const auto add = [&](int position, const char* equals) {
            row.positions.push_back(position);
            row.text += (row.text.empty() ? "" : " AND ") + Quoted(NameOf(position)) + equals +
                        std::to_string(row.positions.size());
        };
        for (const std::string& name : connection_.KeyOf(Table())) {
            const auto position = PositionOf(name);
            if (!position) Refuse(kNotUpdatable, "The result lacks the key column \"" + name + "\"");
            add(*position, " = $");
        }
        if (!row.positions.empty()) return row;
        for (int position = 0; position < columns_; ++position) add(position, " IS NOT DISTINCT FROM $");
        row.text = "(tableoid,ctid) = (SELECT tableoid,ctid FROM " + Quoted(Table()) + " WHERE " + row.text +
                   " LIMIT 1)";
        return row;
    }

    PostgresConnection& connection_;
    std::optional<PostgresConnection::Selected> selected_;  // nothing: closed
    int row_ = 0, columns_ = 0;
    std::int64_t fetched_ = 0;  // up to the last that is held
    std::shared_ptr<const Prepared> insert_;
    std::vector<int> insertedPositions_;  // what it was prepared for
    Parameters parameters_;
};

}  // namespace

std::unique_ptr<Recordset> PostgresConnection::CreateRecordset() {
    return std::make_unique<PostgresRecordset>(*this);
}

}  // namespace iqrx::platform::postgres
