#include "platform/postgres/sender.h"

#include <utility>

#include "platform/postgres/errors.h"

namespace iqrx::platform::postgres {

namespace {

constexpr std::size_t kTripsUnderWay = 4;

[[noreturn]] void RaiseFallen() {
    Raise("25P02", "One of the statements failed, so that all of them were taken back");
}

}  // namespace

Session& Sender::Opened() {
    if (!session_) RaiseRecordsetError(kObjectClosed, "The connection is closed");
    return *session_;
}

// Whatever happens from here on, the hearer is told with the others.
void Sender::SendWrite(Entry entry, const Prepared& statement, platform::Answers& answers) {
    const bool begins = frame_ == Frame::UnitAhead || (frame_ == Frame::None && !trips_.IsOpen());
    if (begins) trips_.Add({.kind = Entry::Kind::Begin, .isUnit = frame_ == Frame::UnitAhead});
    entry.answers = &answers;
    trips_.Add(std::move(entry));
    if (frame_ == Frame::UnitAhead) frame_ = Frame::Unit;
    Call([&] {
        OrGiveUp([&] {
            if (begins) session_->Queue(kBegin);
            session_->Queue(statement, parameters_);
        });
        if (++added_ >= rowsPerTrip_) SendTrip();
    });
}

// A unit goes on its way in parts, too, but is not told before its end.
void Sender::SendTrip() {
    CloseTrip();
    bool done = true;
    OrGiveUp([&] {
        session_->Flush();
        added_ = 0;
        if (trips_.Unread() > kTripsUnderWay * rowsPerTrip_ && trips_.HasUnreadCommit()) {
            session_->NoteWait();
            done = trips_.ReadToCommit(*session_);
        }
    });
    done ? Tell() : static_cast<void>(Ask([] {}));
}

void Sender::CloseTrip() {
    if (frame_ != Frame::None || !trips_.IsOpen()) return;
    EndTrip();
}

void Sender::EndTrip() {
    trips_.Add({.kind = Entry::Kind::Commit});
    OrGiveUp([&] { session_->Queue("COMMIT"); });
    isAhead_ = true;
}

void Sender::RaiseOwed() {
    if (owed_) std::rethrow_exception(std::exchange(owed_, nullptr));
}

void Sender::RequireStanding() const {
    if (frame_ == Frame::Fallen) RaiseFallen();
}

void Sender::BeginWrite(bool touchesControlTable) {
    RequireStanding();
    if (frame_ == Frame::UnitAhead) {
        trips_.Add({.kind = Entry::Kind::Begin, .isUnit = true});
        session_->Queue(kBegin);
        frame_ = Frame::Unit;
    }
    if (!touchesControlTable || waitsForDisk_) return;
    session_->Queue(kWaitForDisk);
    waitsForDisk_ = frame_ != Frame::None;
}

void Sender::EndWrite(bool touchesControlTable) {
    trips_.NoteOtherWrites();
    if (frame_ == Frame::None) isAhead_ = !touchesControlTable;
}

bool Sender::HasRows() const { return session_ && session_->Queued() > trips_.Unread(); }

void Sender::SendRows() {
    if (HasRows()) SendPending();
}

void Sender::SendPending() {
    if (!session_) return;
    RaiseOwed();
    if (session_->Queued() == 0) return;
    const bool hasRows = HasRows();
    if (!hasRows) CloseTrip();
    Ask([&, isFirst = true]() mutable {
        if (!std::exchange(isFirst, false) && hasRows) RaiseFallen();
    });
    if (hasRows) EndWrite(false);
}

// What was sent is read first. Where something of it fails, it is done again, one after the other; only when
// that goes well is there anything to ask.
Answer Sender::Ask(const std::function<void()>& queue) {
    for (;;) {
        const Frame before = frame_;
        const bool waitedBefore = waitsForDisk_;
        bool done = true;
        std::vector<Answer> own;
        OrGiveUp([&] {
            queue();
            session_->Send();
            done = trips_.Read(*session_);
            while (session_->Queued() > 0) own.push_back(session_->Next());
            if (Answer late = session_->End()) own.push_back(std::move(late));
        });
        added_ = 0;
        Tell();
        if (done) return Only(own);
        frame_ = before;
        waitsForDisk_ = waitedBefore;
        const Parameters kept = parameters_;
        DoAgain();
        parameters_ = kept;
    }
}

Answer Sender::Only(std::vector<Answer>& own) {
    for (const Answer& answer : own) {
        if (!IsFailure(answer.get())) continue;
        if (frame_ == Frame::Unit) frame_ = Frame::Fallen;
        session_->Fail(answer.get());
    }
    return own.empty() ? Answer() : std::move(own.back());
}

// Who hears an answer may fail; nothing is told after that.
void Sender::Tell() {
    try {
        trips_.Tell();
    } catch (...) {
        Entries left = trips_.Take();
        Fall();
        if (frame_ == Frame::None) EndTransaction();
        TellNotSent(left);
        throw;
    }
}

void Sender::Fall() {
    if (frame_ == Frame::Unit || frame_ == Frame::UnitAhead) frame_ = Frame::Fallen;
}

// For what fails by the connection itself: nobody knows how far the server came.
void Sender::OrGiveUp(const std::function<void()>& action) {
    try {
        action();
    } catch (...) {
        Entries left = trips_.Take();
        Fall();
        TellFailure(left, CurrentError());
        throw;
    }
}

// The server has taken back what it did since the last COMMIT, and has done nothing since the failure.
void Sender::DoAgain() {
    Entries entries = trips_.Take();
    const bool inUnit = std::exchange(frame_, Frame::None) != Frame::None;
    waitsForDisk_ = false;
    try {
        if (session_->InTransaction()) session_->Ask("ROLLBACK");
        if (!entries.front().isWhole) RaiseFirstFailure(entries);
        while (!entries.empty()) {
            Entry entry = std::move(entries.front());
            entries.pop_front();
            DoAgain(entry);
        }
    } catch (...) {
        RollBack();
        if (inUnit) frame_ = Frame::Fallen;
        TellNotSent(entries);
        isOfEarlier_ = true;
        throw;
    }
    if (inUnit && frame_ == Frame::None) frame_ = Frame::UnitAhead;
}

void Sender::DoAgain(Entry& entry) {
    Answers nobody;
    Answers& hearer = entry.answers ? *entry.answers : nobody;
    if (entry.kind == Entry::Kind::Begin) {
        frame_ = entry.isUnit ? Frame::UnitAhead : Frame::None;
    } else if (entry.kind == Entry::Kind::Commit) {
        EndUnit(true);
    } else if (entry.insert) {
        Connection::Upsert(
            entry.statement.Borrowed(), [&] { return entry.insert->Borrowed(); }, hearer);
    } else {
        Connection::Send(entry.statement.Borrowed(), hearer);
    }
}

// Of a unit that others than these have written to, and that is taken back as a whole.
void Sender::RaiseFirstFailure(Entries& entries) {
    while (!entries.empty()) {
        Entry entry = std::move(entries.front());
        entries.pop_front();
        if (!Failed(entry)) {
            postgres::Tell(entry);
            continue;
        }
        try {
            if (!IsFailure(entry.answer.get())) RaiseFallen();
            session_->Fail(entry.answer.get());
        } catch (DatabaseFailure& failure) {
            AddPlace(failure, (entry.insert ? *entry.insert : entry.statement).Borrowed().Text());
            if (entry.answers) entry.answers->Failed(failure);
            throw;
        }
    }
}

void Sender::RunAsUnit(const Work& work) {
    if (frame_ != Frame::None) return work();
    Call([&] {
        Opened();
        RaiseOwed();
        SendRows();
        CloseTrip();
        frame_ = Frame::UnitAhead;
    });
    try {
        work();
        Call([&] { EndUnit(rowsPerTrip_ == 1); });
    } catch (...) {
        RollBack();
        throw;
    }
}

void Sender::EndUnit(bool isWaitedFor) {
    RequireStanding();
    SendRows();
    if (frame_ == Frame::Unit && (isWaitedFor || waitsForDisk_)) {
        SendPending();
        CommitTransaction();
    } else if (frame_ == Frame::Unit) {
        EndTrip();
    }
    frame_ = Frame::None;
    if (added_ >= rowsPerTrip_) SendTrip();
}

// What was queued is part of it. Leaves the Errors alone; what failed before is raised by the next call.
void Sender::RollBack() noexcept {
    try {
        if (session_ && session_->Queued() > 0 && !HasRows()) Ask([] {});
    } catch (...) {
        owed_ = std::current_exception();
    }
    trips_.Take();
    frame_ = Frame::None;
    waitsForDisk_ = false;
    if (session_) EndTransaction();
}

void Sender::EndTransaction() noexcept {
    session_->Discard();
    try {
        if (session_->InTransaction()) session_->Ask("ROLLBACK");
    } catch (const std::exception&) {
        // It ends with the connection then.
    }
}

// The server ends a transaction in which something failed by rolling it back, and calls that no failure.
void Sender::CommitTransaction() {
    const Answer answer = session_->Ask("COMMIT");
    if (std::string_view(PQcmdStatus(answer.get())) != "COMMIT") RaiseFallen();
    trips_.Take();
    isAhead_ = !waitsForDisk_;
    waitsForDisk_ = false;
}

}  // namespace iqrx::platform::postgres
