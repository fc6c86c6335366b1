#include "platform/database.h"

#include <algorithm>
#include <array>

namespace iqrx::platform {

namespace {

std::int32_t Executed(Connection& connection, const Statement& statement, Answers& answers) {
    try {
        return connection.Execute(statement);
    } catch (...) {
        answers.Failed(CurrentError());
        throw;
    }
}

Statement Made(const Connection::MakeStatement& insert, Answers& answers) {
    try {
        return insert();
    } catch (...) {
        answers.NotSent();
        throw;
    }
}

}  // namespace

bool SpeakOfLostConnection(const Errors& errors) {
    // 57P0x: PostgreSQL's own words for a server that is going away.
    constexpr std::array<std::string_view, 7> kLost{"08003", "08006", "08007", "08S01",
                                                    "57P01", "57P02", "57P03"};
    return std::ranges::any_of(errors, [&](const ErrorEntry& entry) {
        return std::ranges::find(kLost, entry.sqlState) != kLost.end();
    });
}

void Connection::Send(const Statement& statement, Answers& answers) {
    answers.Executed(Executed(*this, statement, answers));
}

void Connection::Upsert(const Statement& update, const MakeStatement& insert, Answers& answers) {
    const std::int32_t updated = Executed(*this, update, answers);
    answers.Updated(updated);
    if (updated != 0) return;
    answers.Inserted(Executed(*this, Made(insert, answers), answers));
}

}  // namespace iqrx::platform
