// Writes that were sent and whose answers nobody has waited for yet, each with the BEGIN and the COMMIT
// between which it stands or falls with others.
#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <vector>

#include "platform/answers.h"
#include "platform/postgres/session.h"
#include "platform/postgres/upserts.h"
#include "platform/statement.h"

namespace iqrx::platform::postgres {

struct Awaited {
    KeptStatement statement = {};
    std::optional<KeptStatement> insert = {};  // of an upsert
    Answers* answers = nullptr;                // null: told
};

struct Entry {
    // The first four are commands, of which each has an answer.
    enum class Kind : std::uint8_t { Begin, Setting, Write, Commit, UnitBegin, UnitEnd };
    Kind kind = Kind::Write;
    bool isUnit = false;  // of a Begin: who sent it wants its writes to fall together
    bool isWhole = true;  // of a Begin: nothing but what stands here was written since
    std::vector<Awaited> writes = {};
    std::shared_ptr<PreparedUpsert> many = {};  // that did all of the writes
    std::shared_ptr<const Prepared> told = {};  // to the server, by a Setting
    Answer answer = {};                         // null: not read

    bool IsCommand() const { return kind != Kind::UnitBegin && kind != Kind::UnitEnd; }
};
using Entries = std::deque<Entry>;

std::int64_t CountOf(const PGresult* answer);

class Trips {
public:
    void Add(Entry entry);

    std::size_t Unread() const { return unread_; }  // commands
    std::size_t UnreadCommits() const;
    void NoteOtherWrites();  // since the Begin that is open

    // The answers to all, or up to the next Commit. False: one of them is a failure; none of those after it
    // was done.
    bool Read(Session& session);
    bool ReadToCommit(Session& session);

    // Tells what was committed, and forgets it; and the answers in a unit, unless one of them is a failure.
    void Tell();

    Entries Take();  // all of it

private:
    bool ReadNext(Session& session);

    Entries entries_;
    std::size_t read_ = 0, unread_ = 0;
    bool hasFailed_ = false;  // since the last Take
};

void Tell(Entry& entry);  // raises what a hearer raises
bool Failed(const Entry& entry);
void TellNotSent(Entry& entry);
void TellNotSent(Entries& entries);
// To the first that has heard nothing, and that those after it were not sent.
void TellFailure(Entries& entries, const RuntimeError& error);

}  // namespace iqrx::platform::postgres
