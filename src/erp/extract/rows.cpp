#include "erp/extract/rows.h"

#include <algorithm>
#include <utility>

#include "erp/extract/late_bound.h"
#include "erp/extract/records.h"
#include "platform/date.h"
#include "platform/number.h"

namespace iqrx::erp::extract {

namespace {

// std::from_chars takes words such as "inf" too; a number is digits, a point and a sign.
template <class Number>
bool Parse(std::string_view cell, Value& into) {
    if (cell.find_first_not_of("-.0123456789") != std::string_view::npos) return false;
    const auto number = platform::NumberFrom<Number>(cell);
    if (number) into = *number;
    return number.has_value();
}

bool AssignText(std::string_view cell, Value& into) {
    if (into.Is<std::string>())
        std::get<std::string>(into).assign(cell);  // keeps its memory
    else
        into = std::string(cell);
    return true;
}

bool DecodeCell(std::string_view cell, FieldKind kind, Value& into) {
    if (kind == FieldKind::Text) return AssignText(cell, into);
    if (cell.empty()) {
        into = platform::Null();
        return true;
    }
    if (kind == FieldKind::Whole) return Parse<Long>(cell, into);
    if (kind == FieldKind::Real) return Parse<platform::Double>(cell, into);
    const auto date = platform::ParseIsoDate(cell);
    if (date) into = *date;
    return date.has_value();
}

// What a cell may fail to be: each is a text.
std::string KindName(FieldKind kind) {
    if (kind == FieldKind::Whole) return "a whole number of 32 bits";
    if (kind == FieldKind::Real) return "a number";
    return "a date YYYY-MM-DD HH:MM:SS";
}

std::vector<std::string_view> Names(std::span<const FieldLayout> fields) {
    std::vector<std::string_view> names;
    for (const FieldLayout& field : fields) names.push_back(field.field);
    return names;
}

}  // namespace

Rows::Rows(std::shared_ptr<SourceFile> file, std::span<const FieldLayout> fields)
    : Rows(std::move(file), fields, Names(fields)) {}

void Rows::Restart(std::vector<Run> runs) {
    runs_ = std::move(runs);
    nextRun_ = 0;
    runEnd_ = 0;
}

Rows::Rows(std::shared_ptr<SourceFile> file, std::span<const FieldLayout> fields,
           const std::vector<std::string_view>& needed)
    : csv_(std::move(file)), fields_(fields.begin(), fields.end()), columns_(fields.size()) {
    std::vector<std::string_view> missing;
    for (const std::string_view name : needed) {
        const auto column = csv_.FindColumn(name);
        if (!column && std::ranges::find(missing, name) == missing.end()) missing.push_back(name);
        for (std::size_t field = 0; field < fields.size(); ++field)
            if (fields[field].field == name) columns_[field] = column;
    }
    if (!missing.empty()) csv_.FailWithout(missing);
}

bool Rows::Next() {
    if (!runs_) return csv_.Next();
    while (csv_.RowEnd() >= runEnd_) {
        if (nextRun_ == runs_->size()) return false;
        csv_.Seek((*runs_)[nextRun_].start);
        runEnd_ = (*runs_)[nextRun_++].end;
    }
    return csv_.Next();
}

std::string_view Rows::Text(std::size_t field) const {
    return columns_[field] ? csv_.Cell(*columns_[field]) : std::string_view();
}

Value Rows::Decode(std::size_t field) const {
    Value value;
    Decode(field, Text(field), value);
    return value;
}

void Rows::Decode(Record& record) const {
    for (std::size_t field = 0; field < record.Size(); ++field)
        if (const auto& column = columns_[field]) Decode(field, csv_.Cell(*column), record.At(field));
}

void Rows::Decode(std::size_t field, std::string_view cell, Value& into) const {
    if (!DecodeCell(cell, fields_[field].kind, into))
        FailAt(field, Quoted(cell) + " is not " + KindName(fields_[field].kind));
}

void Rows::FailAt(std::size_t field, const std::string& what) const {
    csv_.FailAt(columns_[field].value(), what);
}

}  // namespace iqrx::erp::extract
