#include "platform/sqlite/errors.h"

#include <sqlite3.h>

#include <algorithm>
#include <array>

#include "platform/printable.h"

namespace iqrx::platform::sqlite {

namespace {

// Failures of the file rather than of a statement: the reader needs to know which file.
bool ConcernsFile(int code) {
    constexpr std::array kOfAFile{SQLITE_BUSY, SQLITE_READONLY, SQLITE_IOERR,  SQLITE_CORRUPT,
                                  SQLITE_FULL, SQLITE_CANTOPEN, SQLITE_NOTADB, SQLITE_PERM};
    return std::ranges::find(kOfAFile, code & 0xFF) != kOfAFile.end();
}

const char* SqlStateOf(int code, std::string_view message) {
    const int kind = code & 0xFF;
    if (kind == SQLITE_CONSTRAINT) return "23000";
    if (kind == SQLITE_CANTOPEN) return "08001";
    if (kind == SQLITE_BUSY || kind == SQLITE_LOCKED) return "HYT00";
    if (kind == SQLITE_ERROR && message.starts_with("no such table")) return "42S02";
    if (kind == SQLITE_ERROR && message.starts_with("no such column")) return "42S22";
    return "HY000";
}

}  // namespace

void RaiseSqliteError(sqlite3* database, int code) {
    std::string message = Printable(database ? sqlite3_errmsg(database) : sqlite3_errstr(code));
    const char* sqlState = SqlStateOf(code, message);
    const char* file = database ? sqlite3_db_filename(database, "main") : nullptr;
    if (file && *file && ConcernsFile(code)) message += std::string(": ") + file;
    throw DatabaseFailure(code, std::move(message), sqlState);
}

}  // namespace iqrx::platform::sqlite
