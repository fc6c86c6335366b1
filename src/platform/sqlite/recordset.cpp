#include <algorithm>
#include <limits>

#include "platform/dialect/checked_recordset.h"
#include "platform/sqlite/connection.h"
#include "platform/sqlite/grammar.h"

namespace iqrx::platform::sqlite {

namespace {

constexpr std::size_t kRowsPerChunk = 256;

std::string Quoted(const std::string& name) { return "[" + name + "]"; }

// A large result, read through a connection of its own that keeps its view of the data, so that writing goes
// on meanwhile.
struct Stream {
    Stream(Session& session, const Found& found)
        : database(session.File(),
                   session.Handle().IsReadOnly() ? Database::Access::Read : Database::Access::Write,
                   session.Handle().Listener()) {
        database.Run("PRAGMA query_only=1; BEGIN");  // one view of the data until the recordset is closed
        const std::string& sql = found.program->translation.statements.front();
        statement = Prepared(database, sql);
        count = Prepared(database, "SELECT count(*) FROM (" + sql + ")");
        statement.BindAll(found.literals, true);
        count.BindAll(found.literals, true);
    }

    Database database;
    Prepared statement, count;
};

// Rows are read in chunks; a result of one chunk is read at once.
class SqliteRecordset final : public dialect::CheckedRecordset<SqliteRecordset, kGrammar> {
    friend CheckedRecordset;

    template <class Work>
    auto Call(Work work) {
        return connection_.Opened().Call(work);
    }

public:
    explicit SqliteRecordset(SqliteConnection& connection) : connection_(connection) {}

    void Open(const platform::Statement& source, CursorType, LockType lock) override {
        Close();
        Call([&] {
            lock_ = lock;
            Session& session = connection_.Opened();
            const Found found = session.Find(source);
            if (!found.program->translation.isSelect) Refuse(kNotUpdatable, "The statement returns no rows");
            Program& program = ProgramOf(found);
            Prepared& statement = program.statements.front();
            program.Bind(found, statement, 0, 0, found.literals.size());
            const ResetAtEnd reset(statement);
            columns_ = program.columns;
            ReadChunk(statement);
            if (!IsLastChunk()) {
                statement.Reset();
                session.Commit();  // another connection sees what is committed
                stream_ = std::make_unique<Stream>(session, found);
                ReadChunk(stream_->statement);
            }
            program_ = found.program;
        });
    }

    void Close() override {
        // The statements are the connection's, on which the group's timer may be committing.
        const auto turn = connection_.Turn();
        program_.reset();
        stream_.reset();
        insert_ = {};
        insertedPositions_.clear();
        chunk_.clear();
        rowCount_ = row_ = chunkStart_ = 0;
        isAdding_ = isDeleted_ = false;
    }

    bool Bof() const override { return rowCount_ == 0 && chunkStart_ == 0; }
    bool Eof() const override { return row_ >= rowCount_; }

    std::int32_t RecordCount() override {
        return Call([&] {
            CheckOpen();
            if (!stream_) return static_cast<std::int32_t>(rowCount_);
            const ResetAtEnd reset(stream_->count);
            stream_->count.Step();
            return static_cast<std::int32_t>(
                std::min<std::int64_t>(stream_->count.Whole(0), std::numeric_limits<std::int32_t>::max()));
        });
    }

    void MoveFirst() override {
        Call([&] {
            CheckOpen();
            if (Bof()) Refuse(kNoCurrentRecord, "The recordset is empty");
            if (chunkStart_ > 0) {
                stream_->statement.Reset();
                chunkStart_ = 0;
                ReadChunk(stream_->statement);
            }
            row_ = 0;
        });
    }

    void MoveNext() override {
        if (row_ + 1 < rowCount_) {
            ++row_;
            isDeleted_ = false;
            return;
        }
        Call([&] {
            CheckOpen();
            if (Eof()) Refuse(kNoCurrentRecord, "There is no current record");
            isDeleted_ = false;
            if (IsLastChunk()) {
                ++row_;
            } else {
                chunkStart_ += rowCount_;
                ReadChunk(stream_->statement);
            }
        });
    }

    void Update() override {
        Call([&] {
            if (!isAdding_) Refuse(kNotUpdatable, "There is no new row");
            isAdding_ = false;
            PrepareInsert();
            for (std::size_t i = 0; i < newRow_.size(); ++i)
                insert_.Bind(static_cast<int>(i) + 1, newRow_[i].value);
            connection_.Opened().InGroup(program_->touchesControlTable, [&] {
                const ResetAtEnd reset(insert_);
                insert_.Step();
            });
        });
    }

    void Delete() override {
        Call([&] {
            CheckRow();
            Session& session = connection_.Opened();
            const std::vector<int> keys = Keys(session);
            Prepared statement(session.Handle(), DeleteText(keys));
            for (std::size_t i = 0; i < keys.size(); ++i)
                statement.Bind(static_cast<int>(i) + 1, Cell(keys[i]));
            session.InGroup(program_->touchesControlTable, [&] {
                const ResetAtEnd reset(statement);
                statement.Step();
                if (session.Handle().Changes() == 0)
                    Refuse(kNotUpdatable, "The current row is no longer in the table");
            });
            isDeleted_ = true;
        });
    }

private:
    const std::vector<std::string>* Tables() const {
        return program_ ? &program_->translation.tables : nullptr;
    }
    const std::vector<Column>& Columns() const { return *columns_; }
    int ColumnCount() const { return program_ ? static_cast<int>(Columns().size()) : 0; }
    const std::string& NameOf(int position) const {
        return Columns()[static_cast<std::size_t>(position)].name;
    }
    const Value& Cell(int position) const {
        return chunk_[row_ * Columns().size() + static_cast<std::size_t>(position)];
    }

    void ReadChunk(Prepared& statement) {
        chunk_.clear();
        chunk_.reserve(Columns().size());
        rowCount_ = row_ = 0;
        isDeleted_ = false;
        std::size_t rows = 0;  // of a chunk that cannot be read to its end none count: it is not the last one
        for (; rows < kRowsPerChunk && statement.Step(); ++rows) {
            // A changed schema shows at the first step only.
            if (statement.ColumnCount() != Columns().size())
                columns_ = std::make_shared<const std::vector<Column>>(statement.Columns());
            for (std::size_t i = 0; i < Columns().size(); ++i)
                chunk_.push_back(statement.Field(static_cast<int>(i), Columns()[i].type));
        }
        rowCount_ = rows;
    }
    bool IsLastChunk() const { return rowCount_ < kRowsPerChunk; }

    // Fields that were not set take their defaults; so the statement depends on which were.
    void PrepareInsert() {
        if (!insertedPositions_.empty() &&
            std::ranges::equal(newRow_, insertedPositions_, {}, &NewField::position))
            return;
        insertedPositions_.clear();
        std::string names, values;
        for (const NewField& field : newRow_) {
            const char* separator = names.empty() ? "" : ",";
            names += separator + Quoted(NameOf(field.position));
            values.append(separator).append("?");
            insertedPositions_.push_back(field.position);
        }
        insert_ =
            Prepared(connection_.Opened().Handle(),
                     newRow_.empty() ? "INSERT INTO " + Table() + " DEFAULT VALUES"
                                     : "INSERT INTO " + Table() + "(" + names + ") VALUES(" + values + ")");
    }

    // The columns that a row is known by: the table's key or, where it has none, all of them.
    std::vector<int> Keys(Session& session) {
        std::vector<int> keys;
        Prepared keyColumns(session.Handle(), "SELECT name FROM pragma_table_info(?) WHERE pk > 0");
        keyColumns.Bind(1, Value(Table()));
        while (keyColumns.Step()) {
            const std::string name = std::get<std::string>(keyColumns.Field(0, ColumnType::Stored));
            const auto position = PositionOf(name);
            if (!position) Refuse(kNotUpdatable, "The result lacks the key column \"" + name + "\"");
            keys.push_back(*position);
        }
        if (keys.empty())
            for (int position = 0; HasColumn(position); ++position) keys.push_back(position);
        return keys;
    }

    std::string DeleteText(const std::vector<int>& keys) {
        std::string condition;
        for (const int key : keys)
            condition += (condition.empty() ? " WHERE " : " AND ") + Quoted(NameOf(key)) + " IS ?";
        return "DELETE FROM " + Table() + condition;
    }

    SqliteConnection& connection_;
    std::shared_ptr<dialect::Program> program_;  // null: closed
    std::shared_ptr<const std::vector<Column>> columns_;
    std::unique_ptr<Stream> stream_;

    std::vector<Value> chunk_;  // row by row
    std::size_t rowCount_ = 0, row_ = 0, chunkStart_ = 0;

    std::vector<int> insertedPositions_;  // what insert_ was prepared for
    Prepared insert_;
};

}  // namespace

std::unique_ptr<Recordset> SqliteConnection::CreateRecordset() {
    return std::make_unique<SqliteRecordset>(*this);
}

}  // namespace iqrx::platform::sqlite
