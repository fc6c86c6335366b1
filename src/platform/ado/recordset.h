// "ADODB.Recordset" on a connection.
#pragma once

#include <map>
#include <string>

#include "platform/database.h"
#include "platform/object.h"

namespace iqrx::platform::ado {

class AdoRecordset : public Recordset {
public:
    // The connection's object and error entries; the entries outlive the recordset.
    AdoRecordset(ObjectRef recordset, ObjectRef connection, Errors& errors);
    ~AdoRecordset() override;

    void Open(const Statement& source, CursorType cursor, LockType lock) override;
    void Close() override;
    bool Bof() const override;
    bool Eof() const override;
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
    template <class F>
    auto Calling(F call) const;
    Object& FieldAt(int position);
    Object& FieldNamed(std::string_view name);

    ObjectRef recordset_;
    ObjectRef connection_;
    Errors& errors_;
    // ADO's Field objects follow the current row, so each is fetched once an opening.
    ObjectRef fields_;
    std::map<int, ObjectRef> byPosition_;
    std::map<std::string, ObjectRef, std::less<>> byName_;
    bool open_ = false;
};

}  // namespace iqrx::platform::ado
