// The embedded database's recordset. Rows are read in chunks: a result of one chunk is read at once, a larger
// one through a connection of its own that keeps its view of the data, so that writing goes on meanwhile.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/sqlite/connection.h"

namespace iqrx::platform::sqlite {

class SqliteRecordset : public Recordset {
public:
    explicit SqliteRecordset(SqliteConnection& connection) : connection_(connection) {}

    void Open(const platform::Statement& source, CursorType cursor, LockType lock) override;
    void Close() override;
    bool Bof() const override { return rowCount_ == 0 && chunkStart_ == 0; }
    bool Eof() const override { return row_ >= rowCount_; }
    std::int32_t RecordCount() override;
    void MoveFirst() override;
    void MoveNext() override;
    Value Field(std::string_view name) override;
    Value Field(int position) override;
    std::vector<std::string> FieldNames() override;
    void AddNew() override;
    void SetField(int position, const Value& value) override;
    void Update() override;
    void Delete() override;

private:
    struct Stream {  // a large result
        Stream(Session& session, const Found& found);
        Database database;
        Prepared statement, count;
    };
    struct NewField {
        int position;
        Value value;
    };

    template <class Work>
    auto Call(Work work) {
        Session& session = connection_.Opened();
        return session.Call([&] { return work(session); });
    }
    const std::vector<Column>& Columns() const { return *columns_; }
    void CheckOpen() const;
    void CheckRow() const;
    void CheckPosition(int position) const;
    const std::string& Table() const;
    bool ReadChunk(Prepared& statement);  // false: the last one
    void PrepareInsert(Session& session);
    std::string DeleteText(Session& session, std::vector<int>& keys) const;

    SqliteConnection& connection_;
    LockType lock_ = LockType::ReadOnly;
    std::shared_ptr<Program> program_;  // null: closed
    std::shared_ptr<const std::vector<Column>> columns_ = std::make_shared<const std::vector<Column>>();
    std::unique_ptr<Stream> stream_;

    std::vector<Value> chunk_;  // row by row
    std::size_t rowCount_ = 0, row_ = 0, chunkStart_ = 0;
    bool isLastChunk_ = true, isDeleted_ = false;

    bool isAdding_ = false;
    std::vector<NewField> newRow_;
    std::vector<int> insertedPositions_;  // what insert_ was prepared for
    Prepared insert_;
};

}  // namespace iqrx::platform::sqlite
