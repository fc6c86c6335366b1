#include "platform/sqlite/errors.h"

#include <sqlite3.h>

#include "platform/printable.h"

namespace iqrx::platform::sqlite {

namespace {

constexpr std::size_t kQuotedLength = 40;

// Failures of the file rather than of a statement: the reader needs to know which file.
bool ConcernsFile(int code) {
    switch (code & 0xFF) {
        case SQLITE_BUSY:
        case SQLITE_READONLY:
        case SQLITE_IOERR:
        case SQLITE_CORRUPT:
        case SQLITE_FULL:
        case SQLITE_CANTOPEN:
        case SQLITE_NOTADB:
        case SQLITE_PERM:
            return true;
        default:
            return false;
    }
}

const char* SqlStateOf(int code, std::string_view message) {
    switch (code & 0xFF) {
        case SQLITE_CONSTRAINT:
            return "23000";
        case SQLITE_CANTOPEN:
            return "08001";
        case SQLITE_BUSY:
        case SQLITE_LOCKED:
            return "HYT00";
        case SQLITE_ERROR:
            if (message.starts_with("no such table")) return "42S02";
            if (message.starts_with("no such column")) return "42S22";
            return "HY000";
        default:
            return "HY000";
    }
}

}  // namespace

void RaiseRecordsetError(RecordsetError number, const std::string& description) {
    throw DatabaseFailure(number, description, "HY000");
}

void RaiseSqliteError(sqlite3* database, int code) {
    std::string message = Printable(database ? sqlite3_errmsg(database) : sqlite3_errstr(code));
    const char* sqlState = SqlStateOf(code, message);
    const char* file = database ? sqlite3_db_filename(database, "main") : nullptr;
    if (file && *file && ConcernsFile(code)) message += std::string(": ") + file;
    throw DatabaseFailure(code, std::move(message), sqlState);
}

void RaiseSyntaxError(std::string_view text, std::size_t place, const std::string& message,
                      const char* sqlState) {
    std::string description = message;
    if (place >= text.size()) {
        description += " at the end of the statement";
        place = text.size() > kQuotedLength ? text.size() - kQuotedLength : 0;
        while (place < text.size() && (text[place] & 0xC0) == 0x80) ++place;  // the middle of a character
        description += " \"..." + Printable(text.substr(place)) + "\"";
    } else {
        description += " at \"" + Printable(text.substr(place), kQuotedLength) + "\" (character " +
                       std::to_string(place + 1) + ")";
    }
    throw DatabaseFailure(SQLITE_ERROR, std::move(description), sqlState);
}

ErrorEntry EntryOf(const std::exception_ptr& failure) {
    try {
        std::rethrow_exception(failure);
    } catch (const DatabaseFailure& error) {
        return {error.number, error.source, error.description, error.sqlState};
    } catch (...) {
        const RuntimeError error = CurrentError();
        return {error.number, error.source, error.description, "HY000"};
    }
}

}  // namespace iqrx::platform::sqlite
