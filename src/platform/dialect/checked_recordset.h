// What recordsets of translated statements share: which calls their state allows, columns by name, a new row.
#pragma once

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "platform/database_failure.h"
#include "platform/dialect/grammar.h"
#include "platform/text.h"

namespace iqrx::platform::dialect {

// Base of `Rows`, which has Call(work), for errors that the connection's are to tell; while it is closed no
// Tables() and a ColumnCount() of 0; NameOf(position); and Cell(position) of the current row.
template <class Rows, const Grammar& kLanguage>
class CheckedRecordset : public Recordset {
public:
    Value Field(std::string_view name) override {
        const auto position = PositionOf(name);
        if (!position) Self().Call([&] { RefuseColumn("\"" + std::string(name) + "\""); });
        return Field(*position);
    }
    Value Field(int position) final {
        if (isDeleted_ || Self().Eof() || !HasColumn(position))
            Self().Call([&] {
                CheckRow();
                RefuseColumn(std::to_string(position));
            });
        return Self().Cell(position);
    }
    std::vector<std::string> FieldNames() override {
        return Self().Call([&] {
            CheckOpen();
            std::vector<std::string> names;
            for (int at = 0; HasColumn(at); ++at) names.emplace_back(Self().NameOf(at));
            return names;
        });
    }
    void AddNew() override {
        Self().Call([&] { Table(); });
        newRow_.clear();
        isAdding_ = true;
    }
    void SetField(int position, const Value& value) override {
        if (!HasColumn(position)) Self().Call([&] { RefuseColumn(std::to_string(position)); });
        if (!isAdding_) Self().Call([&] { Refuse(kNotUpdatable, "Fields are set in a new row only"); });
        const auto same = std::ranges::find(newRow_, position, &NewField::position);
        if (same == newRow_.end())
            newRow_.push_back({position, value});
        else
            same->value = value;
    }

protected:
    struct NewField {
        int position;
        Value value;
    };

    [[noreturn]] static void Refuse(RecordsetError number, const std::string& description) {
        throw DatabaseFailure(number, std::string(kLanguage.product), description, "HY000");
    }
    void CheckOpen() {
        if (!Self().Tables()) Refuse(kObjectClosed, "The recordset is closed");
    }
    void CheckRow() {
        CheckOpen();
        if (isDeleted_ || Self().Eof()) Refuse(kNoCurrentRecord, "There is no current record");
    }
    const std::string& Table() {  // whose rows can be changed
        CheckOpen();
        if (lock_ == LockType::ReadOnly) Refuse(kNotUpdatable, "The recordset was opened for reading only");
        const std::vector<std::string>& tables = *Self().Tables();
        if (tables.size() != 1)
            Refuse(kNotUpdatable, "Rows of a result from several tables cannot be changed");
        return tables.front();
    }
    bool HasColumn(int position) { return position >= 0 && position < Self().ColumnCount(); }
    std::optional<int> PositionOf(std::string_view name) {
        for (int position = 0; HasColumn(position); ++position)
            if (EqualIgnoringCase(Self().NameOf(position), name)) return position;
        return std::nullopt;
    }

    LockType lock_ = LockType::ReadOnly;
    bool isAdding_ = false, isDeleted_ = false;
    std::vector<NewField> newRow_;

private:
    Rows& Self() { return static_cast<Rows&>(*this); }
    [[noreturn]] void RefuseColumn(const std::string& column) {
        CheckOpen();
        Refuse(kItemNotFound, "The result has no column " + column);
    }
};

}  // namespace iqrx::platform::dialect
