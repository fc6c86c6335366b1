// The embedded database: takes the statement texts that are meant for SQL Server and for Oracle.
#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "platform/database.h"

namespace iqrx::platform {

// Hears of a wait after three seconds and each second then; returns whether it goes on. A wait that does not
// ends as at its limit: the statement fails. Must not raise. Called by the thread that waits.
using WaitListener = std::function<bool(std::chrono::seconds waited, const std::filesystem::path& file)>;

// One that lets each wait go on, and tells of it in one line after each minute.
WaitListener TellingEachMinute(std::function<void(const std::string& text)> tell);

// Opens strings of the form "Provider=SQLite;Data Source=FILE", for reading only with ";Mode=ReadOnly". The
// file must exist and hold a database. A file that is opened for reading only need not be writable, nor its
// directory, and nothing is left there; while nobody has it open, it is read without locks, and Commit raises
// RuntimeError when it changed since it was opened, so that what was read has to be read again. Other writes
// are grouped into transactions of a fraction of a second; they are committed at the latest when an error
// leaves the connection and at Close. Dates are kept as text "YYYY-MM-DD HH:MM:SS" in columns declared
// DATETIME, and come back from recordsets as dates. While another program holds the database, calls wait as
// long as the command timeout and the listener allow.
std::unique_ptr<Connection> CreateSqliteConnection(TableNames controlTables, WaitListener listener = {});

// Runs a script in the database's own dialect, in one transaction; creates the file when it is missing.
// Raises RuntimeError, and then nothing of the script has happened.
void ApplySqliteScript(const std::filesystem::path& file, std::string_view script);

}  // namespace iqrx::platform
