// What libpq and the server say, as the port's errors: the words after their SQL state in brackets.
#pragma once

#include <string>
#include <string_view>

#include "platform/database_failure.h"
#include "platform/postgres/handles.h"

namespace iqrx::platform::postgres {

[[noreturn]] void Raise(std::string_view sqlState, const std::string& words);
[[noreturn]] void RaiseRecordsetError(RecordsetError number, const std::string& description);

[[noreturn]] void RaiseLost(const std::string& cause);
bool IsLost(const DatabaseFailure& failure);

// The words for a failure: the answer's, or those of libpq where there is none.
struct Said {
    std::string sqlState, words;
    bool endsSession = false;  // the server says so
};
Said SaidOf(const PGresult* answer, PGconn* link);

// The failure of a login: libpq has the server's state in its verbose words only.
[[noreturn]] void RaiseLogin(PGconn* link);

bool IsFailure(const PGresult* answer);
bool WasNotDone(const PGresult* answer);  // since something before it in the trip failed

// To an error about a value that the statement holds: which row that is.
void AddPlace(DatabaseFailure& failure, std::string_view statement);

}  // namespace iqrx::platform::postgres
