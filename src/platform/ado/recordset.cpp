#include "platform/ado/recordset.h"

#include "platform/ado/errors.h"
#include "platform/conversions.h"

namespace iqrx::platform::ado {

namespace {

constexpr Long kCommandText = 1;

}  // namespace

AdoRecordset::AdoRecordset(ObjectRef recordset, ObjectRef connection, Errors& errors)
    : recordset_(std::move(recordset)), connection_(std::move(connection)), errors_(errors) {}

AdoRecordset::~AdoRecordset() {
    try {
        if (open_) Close();
    } catch (const RuntimeError&) {
        // Its provider is gone, and the rows with it.
    }
}

template <class F>
auto AdoRecordset::Calling(F call) const {
    return TakingErrors(*connection_, errors_, call);
}

void AdoRecordset::Open(const Statement& source, CursorType cursor, LockType lock) {
    Calling([&] {
        Call(*recordset_, "Open", std::string(source.Text()), connection_, static_cast<Long>(cursor),
             static_cast<Long>(lock), kCommandText);
        fields_ = ToObject(recordset_->Get("Fields"));
    });
    byPosition_.clear();
    byName_.clear();
    open_ = true;
}

void AdoRecordset::Close() {
    open_ = false;
    byPosition_.clear();
    byName_.clear();
    fields_.reset();
    Calling([&] { Call(*recordset_, "Close"); });
}

bool AdoRecordset::Bof() const {
    return Calling([&] { return ToBoolean(recordset_->Get("BOF")); });
}

bool AdoRecordset::Eof() const {
    return Calling([&] { return ToBoolean(recordset_->Get("EOF")); });
}

std::int32_t AdoRecordset::RecordCount() {
    return Calling([&] { return ToLong(recordset_->Get("RecordCount")); });
}

void AdoRecordset::MoveFirst() {
    Calling([&] { Call(*recordset_, "MoveFirst"); });
}

void AdoRecordset::MoveNext() {
    Calling([&] { Call(*recordset_, "MoveNext"); });
}

Value AdoRecordset::Field(std::string_view name) {
    return Calling([&] { return FieldNamed(name).Get("Value"); });
}

Value AdoRecordset::Field(int position) {
    return Calling([&] { return FieldAt(position).Get("Value"); });
}

std::vector<std::string> AdoRecordset::FieldNames() {
    return Calling([&] {
        std::vector<std::string> names;
        const Long count = ToLong(ToObject(fields_)->Get("Count"));
        for (Long i = 0; i < count; ++i) names.push_back(ToText(FieldAt(i).Get("Name")));
        return names;
    });
}

void AdoRecordset::AddNew() {
    Calling([&] { Call(*recordset_, "AddNew"); });
}

void AdoRecordset::SetField(int position, const Value& value) {
    Calling([&] { FieldAt(position).Set("Value", value); });
}

void AdoRecordset::Update() {
    Calling([&] { Call(*recordset_, "Update"); });
}

void AdoRecordset::Delete() {
    Calling([&] { Call(*recordset_, "Delete"); });
}

Object& AdoRecordset::FieldAt(int position) {
    ObjectRef& field = byPosition_[position];
    if (!field) field = ToObject(Call(*ToObject(fields_), "Item", static_cast<Long>(position)));
    return *field;
}

Object& AdoRecordset::FieldNamed(std::string_view name) {
    ObjectRef& field = byName_[std::string(name)];
    if (!field) field = ToObject(Call(*ToObject(fields_), "Item", std::string(name)));
    return *field;
}

}  // namespace iqrx::platform::ado
