#include <optional>
#include <utility>

#include "platform/dialect/change.h"
#include "platform/odbc/cursor.h"
#include "platform/odbc/table_writer.h"
#include "platform/text.h"

namespace iqrx::platform::odbc {

namespace {

// Rows come one by one where the driver lets a result stay open, otherwise all of them at once. Their count
// is known when all were read, so asking for it reads the rest.
class OdbcRecordset : public Recordset, Dependent {
public:
    explicit OdbcRecordset(OdbcConnection& connection) : connection_(connection) {}
    ~OdbcRecordset() override {
        try {
            if (open_) Close();
        } catch (...) {
            // Rows that could not be sent: only a caller that closes hears of them.
        }
    }

    void Open(const Statement& source, CursorType, LockType lock) override {
        connection_.Call([&] {
            if (open_) connection_.Raise(kObjectOpen, "The recordset is open already");
            source_ = source.Text();
            lock_ = lock;
            Execute();
            connection_.recordsets.Add(*this);
            open_ = true;
        });
    }

    void Close() override {
        const auto turn = connection_.Turn();
        try {
            connection_.InTurn([&] {
                RequireOpen();
                SendPending();
            });
        } catch (...) {
            Forget();
            throw;
        }
        Forget();
    }

    bool Bof() const override { return passed_ == 0 && rows_.empty() && !deleted_; }
    bool Eof() const override { return !deleted_ && index_ >= rows_.size(); }

    std::int32_t RecordCount() override {
        return connection_.Call([&] {
            RequireOpen();
            ReadRest();
            return static_cast<std::int32_t>(passed_ + rows_.size());
        });
    }

    void MoveFirst() override {
        connection_.Call([&] {
            RequireOpen();
            if (Bof()) connection_.Raise(kNoCurrentRecord, "The recordset has no rows");
            deleted_ = false;
            index_ = 0;
            if (passed_ > 0) Execute();
        });
    }

    void MoveNext() override {
        connection_.Call([&] {
            if (!deleted_) RequireRow();
            if (!std::exchange(deleted_, false)) ++index_;
            if (index_ == rows_.size() && cursor_) ReadNext();
        });
    }

    Value Field(std::string_view name) override {
        return connection_.Call([&] { return RequireRow()[Position(name)]; });
    }
    Value Field(int position) override {
        return connection_.Call([&] { return RequireRow()[Position(position)]; });
    }

    std::vector<std::string> FieldNames() override {
        return connection_.Call([&] {
            RequireOpen();
            std::vector<std::string> names;
            for (const Column& column : columns_) names.push_back(column.name);
            return names;
        });
    }

    void AddNew() override {
        connection_.Call([&] {
            RequireWritable();
            added_.emplace(columns_.size());
        });
    }
    void SetField(int position, const Value& value) override {
        connection_.Call([&] {
            if (!added_) connection_.Raise(kNotUpdatable, "A field is set outside of a new row");
            (*added_)[Position(position)] = value;
        });
    }
    void Update() override {
        connection_.Call([&] {
            if (!added_) connection_.Raise(kNotUpdatable, "There is no new row to write");
            const Row row = *std::exchange(added_, std::nullopt);
            Writer().Add(row);
        });
    }

    void Delete() override {
        connection_.Call([&] {
            RequireWritable();
            const Row& row = RequireRow();
            connection_.recordsets.SendPending();
            Writer().Delete(row);
            rows_.erase(rows_.begin() + static_cast<std::ptrdiff_t>(index_));
            deleted_ = true;
        });
    }

private:
    void SendPending() override {
        if (writer_) writer_->Send();
    }
    void DropPending() override {
        if (writer_) writer_->Drop();
    }
    void Release() noexcept override {
        cursor_.reset();
        writer_.reset();
        added_.reset();
        rows_.clear();
    }

    void Forget() noexcept {
        open_ = false;
        connection_.recordsets.Remove(*this);
        Release();
    }

    void Execute() {
        connection_.recordsets.SendPending();
        rows_.clear();
        passed_ = index_ = 0;
        cursor_.emplace(connection_, source_);
        columns_ = cursor_->Columns();
        ReadNext();
        if (!connection_.driver.openCursors) ReadRest();
    }

    // The next row in place of those that were passed.
    void ReadNext() {
        passed_ += rows_.size();
        rows_.clear();
        index_ = 0;
        if (auto row = cursor_->Fetch())
            rows_.push_back(std::move(*row));
        else
            cursor_.reset();
    }
    void ReadRest() {
        if (!cursor_) return;
        while (auto row = cursor_->Fetch()) rows_.push_back(std::move(*row));
        cursor_.reset();
    }

    void RequireOpen() const {
        if (!open_) connection_.Raise(kObjectClosed, "The recordset is closed");
    }
    void RequireWritable() const {
        RequireOpen();
        if (lock_ == LockType::ReadOnly)
            connection_.Raise(kNotUpdatable, "The recordset was opened for reading only");
        if (Table().empty())
            connection_.Raise(kNotUpdatable, "The recordset does not stand for the rows of one table");
    }
    const Row& RequireRow() const {
        RequireOpen();
        if (deleted_ || index_ >= rows_.size())
            connection_.Raise(kNoCurrentRecord, "The recordset has no current row");
        return rows_[index_];
    }
    std::size_t Position(std::string_view name) const {
        for (std::size_t i = 0; i < columns_.size(); ++i)
            if (EqualIgnoringCase(columns_[i].name, name)) return i;
        connection_.Raise(kItemNotFound, "The recordset has no field \"" + std::string(name) + "\"");
    }
    std::size_t Position(int position) const {
        if (position < 0 || static_cast<std::size_t>(position) >= columns_.size())
            connection_.Raise(kItemNotFound, "The recordset has no field " + std::to_string(position));
        return static_cast<std::size_t>(position);
    }
    std::string Table() const { return dialect::TableOf(source_); }
    TableWriter& Writer() {
        if (!writer_) writer_.emplace(connection_, Table(), columns_);
        return *writer_;
    }

    OdbcConnection& connection_;
    std::string source_;
    LockType lock_ = LockType::ReadOnly;
    bool open_ = false;
    bool deleted_ = false;  // the current row was; the next one stands in its place

    std::optional<Cursor> cursor_;  // while rows are still to be read
    std::vector<Column> columns_;
    std::vector<Row> rows_;   // read and not yet given up
    std::size_t index_ = 0;   // of the current row in them
    std::size_t passed_ = 0;  // rows given up before them

    std::optional<Row> added_;
    std::optional<TableWriter> writer_;
};

}  // namespace

std::unique_ptr<Recordset> OdbcConnection::CreateRecordset() {
    return std::make_unique<OdbcRecordset>(*this);
}

}  // namespace iqrx::platform::odbc
