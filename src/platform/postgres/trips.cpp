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
    return (entry.IsCommand() && IsFailure(answer)) ||
           (entry.kind == Entry::Kind::Commit && std::string_view(PQcmdStatus(answer)) != "COMMIT");
}

namespace {

void TellOne(Answers& hearer, const PGresult* answer, bool isUpsert) {
    if (!isUpsert) return hearer.Executed(Limited(CountOf(answer)));
    const std::int64_t updated = Whole(PQgetvalue(answer, 0, 0));
    hearer.Updated(Limited(updated));
    if (updated == 0) hearer.Inserted(Limited(Whole(PQgetvalue(answer, 0, 1))));
}

void TellOneOfMany(Answers& hearer, bool wasThere) {
    hearer.Updated(wasThere ? 1 : 0);
    if (!wasThere) hearer.Inserted(1);
}

// "{2,1}": the numbers of the rows that were there.
std::vector<bool> Found(std::string_view numbers, std::size_t rows) {
    std::vector<bool> found(rows);
    while (!numbers.empty()) {
        numbers.remove_prefix(1);
        const auto number = static_cast<std::size_t>(Whole(numbers));
        if (number > 0) found.at(number - 1) = true;
        numbers.remove_prefix(std::min(numbers.find(','), numbers.size()));
    }
    return found;
}

}  // namespace

void Tell(Entry& entry) {
    const PGresult* const answer = entry.answer.get();
    const std::vector<bool> found =
        entry.many ? Found(PQgetvalue(answer, 0, 0), entry.writes.size()) : std::vector<bool>();
    try {
        for (std::size_t i = 0; i < entry.writes.size(); ++i) {
            Answers* const hearer = std::exchange(entry.writes[i].answers, nullptr);
            if (hearer && entry.many) TellOneOfMany(*hearer, found[i]);
            if (hearer && !entry.many) TellOne(*hearer, answer, entry.writes[i].insert.has_value());
        }
    } catch (...) {
        TellNotSent(entry);
        throw;
    }
}

void TellNotSent(Entry& entry) {
    for (Awaited& write : entry.writes)
        if (write.answers) std::exchange(write.answers, nullptr)->NotSent();
}

void TellNotSent(Entries& entries) {
    for (Entry& entry : entries) TellNotSent(entry);
}

void TellFailure(Entries& entries, const RuntimeError& error) {
    const auto isTold = [](const Awaited& write) { return write.answers == nullptr; };
    for (Entry& entry : entries) {
        const auto first = std::ranges::find_if_not(entry.writes, isTold);
        if (first == entry.writes.end()) continue;
        std::exchange(first->answers, nullptr)->Failed(error);
        break;
    }
    TellNotSent(entries);
}

void Trips::Add(Entry entry) {
    if (entry.IsCommand()) ++unread_;
    entries_.push_back(std::move(entry));
}

std::size_t Trips::UnreadCommits() const {
    return static_cast<std::size_t>(
        std::count_if(entries_.begin() + static_cast<std::ptrdiff_t>(read_), entries_.end(),
                      [](const Entry& entry) { return entry.kind == Entry::Kind::Commit; }));
}

void Trips::NoteOtherWrites() {
    const auto begin = std::find_if(entries_.rbegin(), entries_.rend(),
                                    [](const Entry& entry) { return entry.kind == Entry::Kind::Begin; });
    if (begin != entries_.rend()) begin->isWhole = false;
}

bool Trips::ReadNext(Session& session) {
    Entry& entry = entries_[read_++];
    if (!entry.IsCommand()) return !hasFailed_;
    entry.answer = session.Next();
    --unread_;
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
    read_ = unread_ = 0;
    hasFailed_ = false;
    return std::exchange(entries_, {});
}

}  // namespace iqrx::platform::postgres
