// Writes that were sent and whose answers nobody has waited for yet, each with the BEGIN and the COMMIT
// between which it stands or falls with others.
#pragma once

#include <cstdint>
#include <deque>
#include <optional>

#include "platform/answers.h"
#include "platform/kept_statement.h"
#include "platform/postgres/session.h"

namespace iqrx::platform::postgres {

struct Entry {
    enum class Kind : std::uint8_t { Begin, Write, Commit };
    Kind kind = Kind::Write;
    bool isUnit = false;  // of a Begin: who sent it wants its writes to fall together
    bool isWhole = true;  // of a Begin: nothing but what stands here was written since
    KeptStatement statement = {};
    std::optional<KeptStatement> insert = {};  // of an upsert
    Answers* answers = nullptr;                // null: told
    Answer answer = {};                        // null: not read
};
using Entries = std::deque<Entry>;

std::int64_t CountOf(const PGresult* answer);

class Trips {
public:
    void Add(Entry entry) { entries_.push_back(std::move(entry)); }

    bool IsOpen() const { return !entries_.empty() && entries_.back().kind != Entry::Kind::Commit; }
    std::size_t Unread() const { return entries_.size() - read_; }
    bool HasUnreadCommit() const;
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
    std::size_t read_ = 0;
    bool hasFailed_ = false;  // since the last Take
};

void Tell(Entry& entry);
bool Failed(const Entry& entry);
void TellNotSent(Entries& entries);
// To the first that has heard nothing, and that those after it were not sent.
void TellFailure(Entries& entries, const RuntimeError& error);

}  // namespace iqrx::platform::postgres
