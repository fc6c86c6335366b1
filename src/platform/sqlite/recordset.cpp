#include "platform/sqlite/recordset.h"

#include <algorithm>
#include <limits>

#include "platform/connection_string.h"
#include "platform/sqlite/errors.h"

namespace iqrx::platform::sqlite {

namespace {

constexpr std::size_t kRowsPerChunk = 256;

std::string Quoted(const std::string& name) { return "[" + name + "]"; }

}  // namespace

SqliteRecordset::Stream::Stream(Session& session, const Found& found)
    : database(session.File(), session.Handle().IsReadOnly() ? Database::Access::Read : Database::Access::Write,
               session.Handle().Notice()) {
    database.Run("PRAGMA query_only=1; BEGIN");  // one view of the data until the recordset is closed
    const std::string& sql = found.program->translation.statements.front();
    statement = Prepared(database, sql);
    count = Prepared(database, "SELECT count(*) FROM (" + sql + ")");
    statement.BindAll(found.literals, true);
    count.BindAll(found.literals, true);
}

void SqliteRecordset::Open(const platform::Statement& source, CursorType, LockType lock) {
    Close();
    Call([&](Session& session) {
        lock_ = lock;
        const Found found = session.Find(source);
        if (!found.program->translation.isSelect)
            RaiseRecordsetError(kNotUpdatable, "The statement returns no rows");
        Prepared& statement = found.program->statements.front();
        found.Bind(statement, 0, 0, found.literals.size());
        const ResetAtEnd reset(statement);
        columns_ = found.program->columns;
        if (ReadChunk(statement)) {
            statement.Reset();
            session.Commit();  // another connection sees what is committed
            stream_ = std::make_unique<Stream>(session, found);
            ReadChunk(stream_->statement);
        }
        program_ = found.program;
    });
}

void SqliteRecordset::Close() {
    // The statements are the connection's, on which the group's timer may be committing.
    const auto turn = connection_.Turn();
    program_.reset();
    stream_.reset();
    insert_ = {};
    insertedPositions_.clear();
    chunk_.clear();
    rowCount_ = row_ = chunkStart_ = 0;
    isLastChunk_ = true;
    isAdding_ = isDeleted_ = false;
}

bool SqliteRecordset::ReadChunk(Prepared& statement) {
    chunk_.clear();
    chunk_.reserve(Columns().size());
    rowCount_ = row_ = 0;
    isDeleted_ = false;
    while (rowCount_ < kRowsPerChunk) {
        if (!statement.Step()) {
            isLastChunk_ = true;
            return false;
        }
        // A changed schema shows at the first step only.
        if (statement.ColumnCount() != Columns().size())
            columns_ = std::make_shared<const std::vector<Column>>(statement.Columns());
        for (std::size_t i = 0; i < Columns().size(); ++i)
            chunk_.push_back(statement.Field(static_cast<int>(i), Columns()[i].type));
        ++rowCount_;
    }
    isLastChunk_ = false;
    return true;
}

std::int32_t SqliteRecordset::RecordCount() {
    return Call([&](Session&) {
        CheckOpen();
        if (!stream_) return static_cast<std::int32_t>(rowCount_);
        const ResetAtEnd reset(stream_->count);
        stream_->count.Step();
        return static_cast<std::int32_t>(
            std::min<std::int64_t>(stream_->count.Whole(0), std::numeric_limits<std::int32_t>::max()));
    });
}

void SqliteRecordset::MoveFirst() {
    Call([&](Session&) {
        CheckOpen();
        if (Bof()) RaiseRecordsetError(kNoCurrentRecord, "The recordset is empty");
        if (chunkStart_ > 0) {
            stream_->statement.Reset();
            chunkStart_ = 0;
            ReadChunk(stream_->statement);
        }
        row_ = 0;
    });
}

void SqliteRecordset::MoveNext() {
    if (row_ + 1 < rowCount_) {
        ++row_;
        isDeleted_ = false;
        return;
    }
    Call([&](Session&) {
        CheckOpen();
        if (Eof()) RaiseRecordsetError(kNoCurrentRecord, "There is no current record");
        isDeleted_ = false;
        if (isLastChunk_) {
            ++row_;
        } else {
            chunkStart_ += rowCount_;
            ReadChunk(stream_->statement);
        }
    });
}

Value SqliteRecordset::Field(std::string_view name) {
    for (std::size_t i = 0; i < Columns().size(); ++i)
        if (EqualIgnoringCase(Columns()[i].name, name)) return Field(static_cast<int>(i));
    return Call([&](Session&) -> Value {
        CheckOpen();
        RaiseRecordsetError(kItemNotFound, "The result has no column \"" + std::string(name) + "\"");
    });
}

Value SqliteRecordset::Field(int position) {
    if (Eof() || isDeleted_ || position < 0 || static_cast<std::size_t>(position) >= Columns().size())
        Call([&](Session&) {
            CheckRow();
            CheckPosition(position);
        });
    return chunk_[row_ * Columns().size() + static_cast<std::size_t>(position)];
}

void SqliteRecordset::AddNew() {
    Call([&](Session&) {
        Table();
        newRow_.clear();
        isAdding_ = true;
    });
}

void SqliteRecordset::SetField(int position, const Value& value) {
    if (!isAdding_ || position < 0 || static_cast<std::size_t>(position) >= Columns().size())
        Call([&](Session&) {
            CheckOpen();
            CheckPosition(position);
            RaiseRecordsetError(kNotUpdatable, "Fields are set in a new row only");
        });
    const auto same = std::find_if(newRow_.begin(), newRow_.end(),
                                   [&](const NewField& field) { return field.position == position; });
    if (same == newRow_.end())
        newRow_.push_back({position, value});
    else
        same->value = value;
}

void SqliteRecordset::Update() {
    Call([&](Session& session) {
        if (!isAdding_) RaiseRecordsetError(kNotUpdatable, "There is no new row");
        isAdding_ = false;
        PrepareInsert(session);
        for (std::size_t i = 0; i < newRow_.size(); ++i)
            insert_.Bind(static_cast<int>(i) + 1, newRow_[i].value);
        session.InGroup(program_->touchesControlTable, [&] {
            const ResetAtEnd reset(insert_);
            insert_.Step();
        });
    });
}

// Fields that were not set take their defaults; so the statement depends on which were.
void SqliteRecordset::PrepareInsert(Session& session) {
    const auto samePosition = [](const NewField& field, int position) { return field.position == position; };
    if (!insertedPositions_.empty() && std::equal(newRow_.begin(), newRow_.end(), insertedPositions_.begin(),
                                                  insertedPositions_.end(), samePosition))
        return;
    insertedPositions_.clear();
    std::string names, values;
    for (const NewField& field : newRow_) {
        const char* separator = names.empty() ? "" : ",";
        names += separator + Quoted(Columns()[static_cast<std::size_t>(field.position)].name);
        values.append(separator).append("?");
        insertedPositions_.push_back(field.position);
    }
    insert_ = Prepared(session.Handle(),
                       newRow_.empty() ? "INSERT INTO " + Table() + " DEFAULT VALUES"
                                       : "INSERT INTO " + Table() + "(" + names + ") VALUES(" + values + ")");
}

void SqliteRecordset::Delete() {
    Call([&](Session& session) {
        CheckRow();
        std::vector<int> keys;
        Prepared statement(session.Handle(), DeleteText(session, keys));
        for (std::size_t i = 0; i < keys.size(); ++i)
            statement.Bind(static_cast<int>(i) + 1,
                           chunk_[row_ * Columns().size() + static_cast<std::size_t>(keys[i])]);
        session.InGroup(program_->touchesControlTable, [&] {
            const ResetAtEnd reset(statement);
            statement.Step();
            if (session.Handle().Changes() == 0)
                RaiseRecordsetError(kNotUpdatable, "The current row is no longer in the table");
        });
        isDeleted_ = true;
    });
}

// The row is known by the table's key or, where it has none, by all of its columns.
std::string SqliteRecordset::DeleteText(Session& session, std::vector<int>& keys) const {
    const auto positionOf = [&](const std::string& name) {
        for (std::size_t i = 0; i < Columns().size(); ++i)
            if (EqualIgnoringCase(Columns()[i].name, name)) return static_cast<int>(i);
        RaiseRecordsetError(kNotUpdatable, "The result lacks the key column \"" + name + "\"");
    };
    Prepared keyColumns(session.Handle(), "SELECT name FROM pragma_table_info(?) WHERE pk > 0");
    keyColumns.Bind(1, Value(Table()));
    while (keyColumns.Step())
        keys.push_back(positionOf(std::get<std::string>(keyColumns.Field(0, ColumnType::Stored))));
    if (keys.empty())
        for (std::size_t i = 0; i < Columns().size(); ++i) keys.push_back(static_cast<int>(i));
    std::string text = "DELETE FROM " + Table() + " WHERE ";
    for (std::size_t i = 0; i < keys.size(); ++i) {
        if (i > 0) text += " AND ";
        text += Quoted(Columns()[static_cast<std::size_t>(keys[i])].name) + " IS ?";
    }
    return text;
}

const std::string& SqliteRecordset::Table() const {
    CheckOpen();
    if (lock_ == LockType::ReadOnly)
        RaiseRecordsetError(kNotUpdatable, "The recordset was opened for reading only");
    if (program_->translation.tables.size() != 1)
        RaiseRecordsetError(kNotUpdatable, "Rows of a result from several tables cannot be changed");
    return program_->translation.tables.front();
}

void SqliteRecordset::CheckOpen() const {
    if (!program_) RaiseRecordsetError(kObjectClosed, "The recordset is closed");
}

void SqliteRecordset::CheckRow() const {
    CheckOpen();
    if (Eof() || isDeleted_) RaiseRecordsetError(kNoCurrentRecord, "There is no current record");
}

void SqliteRecordset::CheckPosition(int position) const {
    if (position < 0 || static_cast<std::size_t>(position) >= Columns().size())
        RaiseRecordsetError(kItemNotFound, "The result has no column " + std::to_string(position));
}

}  // namespace iqrx::platform::sqlite
