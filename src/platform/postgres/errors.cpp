#include "platform/postgres/errors.h"

#include <algorithm>
#include <array>
#include <regex>

#include "platform/dialect/change.h"
#include "platform/postgres/grammar.h"
#include "platform/printable.h"
#include "platform/text.h"

namespace iqrx::platform::postgres {

namespace {

constexpr std::string_view kLostState = "08S01", kNoConnection = "08001", kLoginRefused = "28000";

constexpr std::array kNumbers{
    NumberOfState{"23", -2147217873},     // integrity violation
    NumberOfState{"42P01", -2147217865},  // no such table
    NumberOfState{"42", -2147217900},     // errors in the text
    NumberOfState{"22001", -2147217833},  // the value does not fit its column
    NumberOfState{"22003", -2147217833}, NumberOfState{"22", -2147217913},  // conversion
    NumberOfState{"28", -2147217843},                                       // login
    NumberOfState{"57014", -2147217871}                                     // time-out
};

std::string Field(const PGresult* answer, int field) {
    const char* const text = answer ? PQresultErrorField(answer, field) : nullptr;
    return text ? text : "";
}

// In one line, without the tabs that libpq sets its hints in with.
std::string Plain(std::string_view words) {
    std::string line = OneLine(Trim(words));
    std::ranges::replace(line, '\t', ' ');
    return line;
}

}  // namespace

void Raise(std::string_view sqlState, const std::string& words) {
    throw DatabaseFailure(NumberOf(sqlState, kNumbers), std::string(kGrammar.product),
                          "[" + std::string(sqlState) + "] " + Printable(words), std::string(sqlState));
}

void RaiseRecordsetError(RecordsetError number, const std::string& description) {
    throw DatabaseFailure(number, std::string(kGrammar.product), description, "HY000");
}

void RaiseLost(const std::string& cause) {
    Raise(kLostState, "The connection to the database was lost: " + cause);
}

bool IsLost(const DatabaseFailure& failure) { return failure.sqlState == kLostState; }

Said SaidOf(const PGresult* answer, PGconn* link) {
    const std::string severity = Field(answer, PG_DIAG_SEVERITY_NONLOCALIZED);
    std::string words = Field(answer, PG_DIAG_MESSAGE_PRIMARY);
    if (const std::string detail = Field(answer, PG_DIAG_MESSAGE_DETAIL); !detail.empty())
        words += " (" + detail + ")";
    if (words.empty() && answer) words = PQresultErrorMessage(answer);
    if (words.empty()) words = PQerrorMessage(link);
    return {Field(answer, PG_DIAG_SQLSTATE), Plain(words), severity == "FATAL" || severity == "PANIC"};
}

// "... failed: FATAL:  28P01: password authentication failed for user "x"", then a line with the place in the
// server's source.
void RaiseLogin(PGconn* link) {
    static const std::regex place(R"(\n?LOCATION:[^\n]*)"), state(R"(:  ([0-9A-Z]{5}): )");
    const std::string said = std::regex_replace(std::string(PQerrorMessage(link)), place, "");
    std::smatch found;
    const bool named = std::regex_search(said, found, state);
    const std::string words = Plain(std::regex_replace(said, state, ": "));
    Raise(named ? found[1].str() : PQconnectionNeedsPassword(link) ? kLoginRefused : kNoConnection, words);
}

bool WasNotDone(const PGresult* answer) { return PQresultStatus(answer) == PGRES_PIPELINE_ABORTED; }

bool IsFailure(const PGresult* answer) {
    const ExecStatusType status = PQresultStatus(answer);
    return status != PGRES_COMMAND_OK && status != PGRES_TUPLES_OK && status != PGRES_EMPTY_QUERY;
}

void AddPlace(DatabaseFailure& failure, std::string_view statement) {
    if (!failure.sqlState.starts_with("22")) return;
    const std::string place = dialect::PlaceOf(statement);
    if (!place.empty()) failure.description += " (" + place + ")";
}

}  // namespace iqrx::platform::postgres
