#include "erp/extract/table_reader.h"

#include <charconv>

#include "platform/date.h"

namespace iqrx::erp::extract {

namespace {

using platform::Value;

// std::from_chars takes words such as "inf" too; a number is digits, a point and a sign.
template <class Number>
bool Parse(std::string_view cell, Value& into) {
    Number number{};
    const char* const end = cell.data() + cell.size();
    if (cell.find_first_not_of("-.0123456789") != std::string_view::npos) return false;
    const auto [stop, error] = std::from_chars(cell.data(), end, number);
    if (error != std::errc() || stop != end) return false;
    into = number;
    return true;
}

bool ParseDate(std::string_view cell, Value& into) {
    const auto date = platform::ParseIsoDate(cell);
    if (date) into = *date;
    return date.has_value();
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
    if (kind == FieldKind::Whole) return Parse<platform::Long>(cell, into);
    if (kind == FieldKind::Real) return Parse<platform::Double>(cell, into);
    return ParseDate(cell, into);
}

std::string KindName(FieldKind kind) {
    switch (kind) {
        case FieldKind::Whole:
            return "whole number of 32 bits";
        case FieldKind::Real:
            return "number";
        case FieldKind::Date:
            return "date YYYY-MM-DD HH:MM:SS";
        case FieldKind::Text:
            break;
    }
    return "text";
}

}  // namespace

TableReader::TableReader(const std::filesystem::path& file, std::span<const FieldLayout> fields)
    : csv_(file), fields_(fields) {
    columns_.reserve(fields.size());
    for (const FieldLayout& field : fields) {
        const auto column = csv_.FindColumn(field.field);
        if (!column && field.key) csv_.FailFile("has no column '" + std::string(field.field) + "'");
        columns_.push_back(column.value_or(kNoColumn));
    }
}

std::string_view TableReader::Text(std::size_t field) const {
    return columns_[field] == kNoColumn ? std::string_view() : csv_.Cell(columns_[field]);
}

void TableReader::Decode(std::size_t field, Value& into) const {
    const FieldKind kind = fields_[field].kind;
    if (columns_[field] == kNoColumn) {
        into = MissingValue(kind);
        return;
    }
    const std::string_view cell = csv_.Cell(columns_[field]);
    if (!DecodeCell(cell, kind, into)) FailAt(field, "'" + std::string(cell) + "' is no " + KindName(kind));
}

Value TableReader::Decode(std::size_t field) const {
    Value value;
    Decode(field, value);
    return value;
}

void TableReader::FailAt(std::size_t field, const std::string& what) const {
    csv_.FailAt(columns_[field], what);
}

}  // namespace iqrx::erp::extract
