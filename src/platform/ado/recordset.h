// "ADODB.Recordset" on a connection.
#pragma once

#include <map>
#include <string>
#include <variant>
#include <vector>

#include "platform/ado/errors.h"

namespace iqrx::platform::ado {

class AdoRecordset : public Recordset {
    template <class F>
    auto Calling(F call) const {
        return TakingErrors(*connection_, errors_, call);
    }

public:
    // The connection's object and error entries; the entries outlive the recordset.
    AdoRecordset(ObjectRef recordset, ObjectRef connection, Errors& errors)
        : recordset_(std::move(recordset)), connection_(std::move(connection)), errors_(errors) {}
    ~AdoRecordset() override {
        if (open_)
            Quietly([&] { AdoRecordset::Close(); });  // else its provider is gone, and the rows with it
    }

    void Open(const Statement& source, CursorType cursor, LockType lock) override {
        constexpr Long kCommandText = 1;
        Calling([&] {
            Call(*recordset_, "Open", std::string(source.Text()), connection_, static_cast<Long>(cursor),
                 static_cast<Long>(lock), kCommandText);
            fields_ = ToObject(recordset_->Get("Fields"));
        });
        known_.clear();
        open_ = true;
    }
    void Close() override {
        open_ = false;
        known_.clear();
        fields_.reset();
        Invoke("Close");
    }

    bool Bof() const override { return ToBoolean(Invoke("BOF")); }
    bool Eof() const override { return ToBoolean(Invoke("EOF")); }
    std::int32_t RecordCount() override { return ToLong(Invoke("RecordCount")); }
    void MoveFirst() override { Invoke("MoveFirst"); }
    void MoveNext() override { Invoke("MoveNext"); }
    Value Field(std::string_view name) override { return Read(std::string(name)); }
    Value Field(int position) override { return Read(position); }
    std::vector<std::string> FieldNames() override {
        return Calling([&] {
            std::vector<std::string> names;
            const Long count = ToLong(ToObject(fields_)->Get("Count"));
            names.reserve(static_cast<std::size_t>(count));
            for (Long i = 0; i < count; ++i) names.push_back(ToText(FieldAt(i).Get("Name")));
            return names;
        });
    }
    void AddNew() override { Invoke("AddNew"); }
    void SetField(int position, const Value& value) override {
        Calling([&] { FieldAt(position).Set("Value", value); });
    }
    void Update() override { Invoke("Update"); }
    void Delete() override { Invoke("Delete"); }

private:
    using Place = std::variant<Long, std::string>;  // a position or a name

    Value Invoke(std::string_view member) const {
        return Calling([&] { return recordset_->Invoke(member, {}); });
    }
    Value Read(const Place& place) {
        return Calling([&] { return FieldAt(place).Get("Value"); });
    }
    Object& FieldAt(const Place& place) {
        ObjectRef& field = known_[place];
        if (!field) {
            const Value index = std::visit([](const auto& which) { return Value(which); }, place);
            field = ToObject(Call(*ToObject(fields_), "Item", index));
        }
        return *field;
    }

    ObjectRef recordset_;
    ObjectRef connection_;
    Errors& errors_;
    // ADO's Field objects follow the current row, so each is fetched once an opening.
    ObjectRef fields_;
    std::map<Place, ObjectRef> known_;
    bool open_ = false;
};

}  // namespace iqrx::platform::ado
