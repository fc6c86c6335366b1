#include "platform/sqlite/prepared.h"

#include <sqlite3.h>

#include "platform/conversions.h"
#include "platform/date.h"
#include "platform/number.h"
#include "platform/sqlite/errors.h"
#include "platform/text.h"

namespace iqrx::platform::sqlite {

namespace {

ColumnType TypeOf(const char* declared) {
    if (!declared) return ColumnType::Stored;
    std::string_view name(declared);
    name = name.substr(0, name.find('('));
    for (std::string_view date : {"DATETIME", "DATE", "TIMESTAMP", "SMALLDATETIME"})
        if (EqualIgnoringCase(name, date)) return ColumnType::Date;
    for (std::string_view real : {"REAL", "FLOAT", "DOUBLE", "NUMERIC", "DECIMAL", "NUMBER"})
        if (EqualIgnoringCase(name, real)) return ColumnType::Real;
    return ColumnType::Stored;
}

// A value that does not parse as a date is returned as text; whoever needs a date raises.
Value DateOrText(std::string_view text) {
    if (text.empty()) return *ParseIsoDate("1900-01-01");  // as the server reads it
    if (const auto date = ParseIsoDate(text)) return *date;
    return std::string(text);
}

}  // namespace

Prepared::Prepared(Database& database, std::string_view sql) {
    sqlite3_stmt* handle = nullptr;
    const int code = sqlite3_prepare_v3(database.Handle(), sql.data(), static_cast<int>(sql.size()),
                                        SQLITE_PREPARE_PERSISTENT, &handle, nullptr);
    if (code != SQLITE_OK) RaiseSqliteError(database.Handle(), code);
    handle_.reset(handle);
}

void Prepared::Finalize::operator()(sqlite3_stmt* handle) const { sqlite3_finalize(handle); }

void Prepared::Check(int code) const {
    if (code != SQLITE_OK) RaiseSqliteError(sqlite3_db_handle(handle_.get()), code);
}

void Prepared::Bind(int place, const Literal& literal, bool copy) {
    sqlite3_stmt* handle = handle_.get();
    switch (literal.Is()) {
        case Literal::Kind::Whole:
            return Check(sqlite3_bind_int64(handle, place, literal.WholeNumber()));
        case Literal::Kind::Real:
            return Check(sqlite3_bind_double(handle, place, literal.RealNumber()));
        case Literal::Kind::Text: {
            const std::string_view text = literal.TextValue();
            return Check(sqlite3_bind_text64(handle, place, text.data(), text.size(),
                                             copy ? SQLITE_TRANSIENT : SQLITE_STATIC, SQLITE_UTF8));
        }
        default:
            return Check(sqlite3_bind_null(handle, place));
    }
}

void Prepared::Bind(int place, const Value& value) {
    if (value.Is<Null>() || value.Is<Empty>()) return Bind(place, Literal());
    if (value.Is<Double>() || value.Is<Single>()) return Bind(place, Literal::Real(ToDouble(value)));
    if (value.Is<Date>()) return Bind(place, Literal::Text(IsoDateTime(value.As<Date>())), true);
    if (value.Is<std::string>()) return Bind(place, Literal::Text(value.As<std::string>()), true);
    Bind(place, Literal::Whole(ToLong(value)));
}

void Prepared::BindAll(std::span<const Literal* const> literals, bool copy) {
    int place = 0;
    for (const Literal* literal : literals) {
        ++place;
        if (literal) Bind(place, *literal, copy);
    }
}

bool Prepared::Step() {
    const int code = sqlite3_step(handle_.get());
    if (code == SQLITE_ROW) return true;
    if (code == SQLITE_DONE) return false;
    const ResetAtEnd reset(*this);
    RaiseSqliteError(sqlite3_db_handle(handle_.get()), code);
}

void Prepared::Reset() { sqlite3_reset(handle_.get()); }

std::size_t Prepared::ColumnCount() const {
    return static_cast<std::size_t>(sqlite3_column_count(handle_.get()));
}

std::vector<Column> Prepared::Columns() const {
    std::vector<Column> columns;
    columns.reserve(ColumnCount());
    for (int i = 0; i < static_cast<int>(ColumnCount()); ++i)
        columns.push_back(
            {sqlite3_column_name(handle_.get(), i), TypeOf(sqlite3_column_decltype(handle_.get(), i))});
    return columns;
}

std::int64_t Prepared::Whole(int column) const { return sqlite3_column_int64(handle_.get(), column); }

Value Prepared::Field(int column, ColumnType type) const {
    sqlite3_stmt* handle = handle_.get();
    switch (sqlite3_column_type(handle, column)) {
        case SQLITE_NULL:
            return Null{};
        case SQLITE_FLOAT:
            return sqlite3_column_double(handle, column);
        case SQLITE_INTEGER:
            if (type == ColumnType::Real) return sqlite3_column_double(handle, column);
            return WholeValue(sqlite3_column_int64(handle, column));
        default:
            break;
    }
    const auto* bytes = static_cast<const char*>(sqlite3_column_blob(handle, column));
    const std::string_view text(bytes ? bytes : "",
                                static_cast<std::size_t>(sqlite3_column_bytes(handle, column)));
    return type == ColumnType::Date ? DateOrText(text) : Value(std::string(text));
}

std::shared_ptr<Program> Prepare(Database& database, dialect::Translation translation) {
    auto program = std::make_shared<Program>();
    program->translation = std::move(translation);
    for (const std::string& sql : program->translation.statements)
        program->statements.emplace_back(database, sql);
    if (program->translation.isSelect)
        program->columns = std::make_shared<const std::vector<Column>>(program->statements.front().Columns());
    return program;
}

}  // namespace iqrx::platform::sqlite
