#include "platform/postgres/trips.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <string_view>
#include <utility>

#include "platform/postgres/errors.h"

namespace iqrx::platform::postgres {

namespace {

std::int32_t Limited(std::int64_t count) {
    return static_cast<std::int32_t>(std::min<std::int64_t>(count, std::numeric_limits<std::int32_t>::max()));
}

std::int64_t Whole(std::string_view digits) {
    std::int64_t number = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), number);
    return number;
}

}  // namespace

std::int64_t CountOf(const PGresult* answer) { return Whole(PQcmdTuples(const_cast<PGresult*>(answer))); }

// The server ends a transaction in which something failed by rolling it back, and calls that no failure.
bool Failed(const Entry& entry) {
    PGresult* const answer = entry.answer.get();
    return IsFailure(answer) ||
           (entry.kind == Entry::Kind::Commit && std::string_view(PQcmdStatus(answer)) != "COMMIT");
}

void Tell(Entry& entry) {
    if (!entry.answers) return;
    Answers& hearer = *std::exchange(entry.answers, nullptr);
    const PGresult* const answer = entry.answer.get();
    if (!entry.insert) return hearer.Executed(Limited(CountOf(answer)));
    const std::int64_t updated = Whole(PQgetvalue(answer, 0, 0));
    hearer.Updated(Limited(updated));
    if (updated == 0) hearer.Inserted(Limited(Whole(PQgetvalue(answer, 0, 1))));
}

void TellNotSent(Entries& entries) {
    for (Entry& entry : entries)
        if (entry.answers) std::exchange(entry.answers, nullptr)->NotSent();
}

void TellFailure(Entries& entries, const RuntimeError& error) {
    const auto first = std::ranges::find_if(entries, [](const Entry& entry) { return entry.answers; });
    if (first != entries.end()) std::exchange(first->answers, nullptr)->Failed(error);
    TellNotSent(entries);
}

bool Trips::HasUnreadCommit() const {
    return std::any_of(entries_.begin() + static_cast<std::ptrdiff_t>(read_), entries_.end(),
                       [](const Entry& entry) { return entry.kind == Entry::Kind::Commit; });
}

void Trips::NoteOtherWrites() {
    const auto begin = std::find_if(entries_.rbegin(), entries_.rend(),
                                    [](const Entry& entry) { return entry.kind == Entry::Kind::Begin; });
    if (begin != entries_.rend()) begin->isWhole = false;
}

bool Trips::ReadNext(Session& session) {
    Entry& entry = entries_[read_];
    entry.answer = session.Next();
    ++read_;
    hasFailed_ = hasFailed_ || Failed(entry);
    return !hasFailed_;
}

bool Trips::Read(Session& session) {
    while (read_ < entries_.size()) ReadNext(session);
    return !hasFailed_;
}

bool Trips::ReadToCommit(Session& session) {
    do {
        if (!ReadNext(session)) return false;
    } while (entries_[read_ - 1].kind != Entry::Kind::Commit);
    return true;
}

void Trips::Tell() {
    std::size_t committed = read_;
    while (committed > 0 &&
           (entries_[committed - 1].kind != Entry::Kind::Commit || Failed(entries_[committed - 1])))
        --committed;
    for (; committed > 0; --committed) {
        Entry entry = std::move(entries_.front());
        entries_.pop_front();
        --read_;
        postgres::Tell(entry);
    }
    if (hasFailed_) return;
    for (std::size_t i = 0; i < read_; ++i) postgres::Tell(entries_[i]);
}

Entries Trips::Take() {
    read_ = 0;
    hasFailed_ = false;
    return std::exchange(entries_, {});
}

}  // namespace iqrx::platform::postgres
