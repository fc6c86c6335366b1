#include "platform/postgres/sender.h"

#include <algorithm>
#include <utility>

#include "platform/postgres/errors.h"

namespace iqrx::platform::postgres {

namespace {

// As many as a far server has in hand while the first answer is on its way; of wide trips few, which are kept
// until then.
constexpr std::size_t kMostTrips = 32, kFewestTrips = 2, kRowsUnderWay = 6400;

// One section at a time in a schema; the number is this system's own among the locks of the database.
constexpr const char* kLock =
    "SELECT pg_advisory_xact_lock(1364350041, hashtext(coalesce(current_schema(),'')))";

[[noreturn]] void RaiseFallen() {
    Raise("25P02", "One of the statements failed, so that all of them were taken back");
}

}  // namespace

Session& Sender::Opened() {
    if (!session_) RaiseRecordsetError(kObjectClosed, "The connection is closed");
    return *session_;
}

void Sender::Take(Load load) {
    if (frame_ == Frame::UnitAhead) {
        trip_.BeginUnit();
        frame_ = Frame::UnitLoaded;
    }
    // Of what a failure takes back as a whole, each row has an answer of its own.
    if (IsInTransaction()) load.upsert.reset();
    trip_.Add(std::move(load));
    if (trip_.Rows() >= rowsPerTrip_) Call([&] { SendTrip(); });
}

// A unit goes on its way in parts, too, but is not told before its end.
void Sender::SendTrip() {
    bool done = true;
    OrGiveUp([&] {
        QueueTrip();
        session_->Flush();
        if (trips_.UnreadCommits() > std::clamp(kRowsUnderWay / rowsPerTrip_, kFewestTrips, kMostTrips)) {
            session_->NoteWait();
            done = trips_.ReadToCommit(*session_);
        }
        while (done && trips_.UnreadCommits() > 0 && session_->HasAnswer())
            done = trips_.ReadToCommit(*session_);
    });
    done ? Tell() : static_cast<void>(Ask([] {}));
}

// The entries first: whoever hears of a failure to send stands in them.
void Sender::QueueTrip() {
    if (trip_.Empty()) return;
    Trip::Content content = trip_.Take();
    std::vector<Command> commands;
    if (IsInTransaction())
        AddLoads(commands, std::move(content.whole));
    else if (!content.whole.empty())
        AddTransaction(commands, std::move(content.whole));
    if (!content.begun.empty()) {
        AddCommand(commands, {.kind = Entry::Kind::Begin, .isUnit = true}, kBegin);
        AddLoads(commands, std::move(content.begun));
        frame_ = Frame::Unit;
    }
    OrGiveUp([&] {
        for (Command& command : commands) Queue(command);
    });
}

void Sender::AddTransaction(std::vector<Command>& commands, std::vector<Load> loads) {
    const bool waitsForDisk = std::ranges::any_of(loads, &Load::touchesControlTable);
    AddCommand(commands, {.kind = Entry::Kind::Begin}, kBegin);
    if (waitsForDisk) AddCommand(commands, {.kind = Entry::Kind::Setting}, kWaitForDisk);
    AddLoads(commands, std::move(loads));
    AddCommand(commands, {.kind = Entry::Kind::Commit}, kCommit);
    isAhead_ = !waitsForDisk;
}

void Sender::AddLoads(std::vector<Command>& commands, std::vector<Load> loads) {
    const auto isMany = [](const Load& load) { return load.rows && load.rows->Rows() > 1; };
    if (std::ranges::any_of(loads, isMany)) AddCommand(commands, {.kind = Entry::Kind::Setting}, kByKeys);
    for (Load& load : loads) {
        if (isMany(load)) load.entry.many = load.upsert;
        const auto& statement = isMany(load) ? load.upsert->many : load.statement;
        if (statement && statement->IsToBeTold()) {
            trips_.Add({.kind = Entry::Kind::Setting, .told = statement});
            commands.push_back({.told = statement});
            statement->Become(Prepared::Told::Name);
        }
        const bool isCommand = load.entry.IsCommand();
        trips_.Add(std::move(load.entry));
        if (isCommand) commands.push_back({.load = std::move(load)});
    }
}

void Sender::AddCommand(std::vector<Command>& commands, Entry entry, const char* text) {
    trips_.Add(std::move(entry));
    commands.push_back({.text = text});
}

void Sender::Queue(Command& command) {
    Load& load = command.load;
    if (command.text)
        session_->Queue(command.text);
    else if (command.told)
        session_->Tell(*command.told);
    else if (load.rows && load.rows->Rows() > 1)
        session_->Queue(*load.upsert->many, *load.rows);
    else
        session_->Queue(*load.statement, load.parameters);
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
    if (session_->Queued() == 0 && trip_.Empty()) return;
    const bool hasRows = HasRows();
    if (!hasRows) QueueTrip();
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
        if (IsInTransaction()) frame_ = Frame::Fallen;
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
        isAhead_ = true;
        Fall();
        if (frame_ == Frame::None) EndTransaction();
        TellNotSent(left);
        throw;
    }
}

void Sender::Fall() {
    if (frame_ != Frame::None) frame_ = Frame::Fallen;
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

namespace {

void NoteUntold(const Entry& entry) {
    using enum Prepared::Told;
    if (entry.told && Failed(entry)) entry.told->Become(WasNotDone(entry.answer.get()) ? Nothing : Refused);
}

}  // namespace

// The server has taken back what it did since the last COMMIT, and has done nothing since the failure.
void Sender::DoAgain() {
    Entries entries = trips_.Take();
    isAhead_ = true;  // what stands before them may have counted on their wait for the disk
    for (const Entry& entry : entries) NoteUntold(entry);
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
    using Kind = Entry::Kind;
    if (entry.kind == Kind::UnitBegin || (entry.kind == Kind::Begin && entry.isUnit))
        frame_ = Frame::UnitAhead;
    if (entry.kind == Kind::UnitEnd || entry.kind == Kind::Commit) EndUnit(true);
    try {
        for (Awaited& write : entry.writes) DoAgain(write);
    } catch (...) {
        TellNotSent(entry);
        throw;
    }
    // What each of its rows does, they do not do together: a trigger of the site's own.
    if (entry.many && Failed(entry)) entry.many->many.reset();
}

void Sender::DoAgain(Awaited& write) {
    Answers nobody;
    Answers* const told = std::exchange(write.answers, nullptr);
    Answers& hearer = told ? *told : nobody;
    std::vector<Literal> first, second;
    if (write.insert)
        Connection::Upsert(
            write.statement.Borrowed(first), [&] { return write.insert->Borrowed(second); }, hearer);
    else
        Connection::Send(write.statement.Borrowed(first), hearer);
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
            TellFailed(entry, failure);
            throw;
        }
    }
}

// A command that is no write fails with the connection, or since something before it did.
void Sender::TellFailed(Entry& entry, DatabaseFailure& failure) {
    if (entry.writes.empty()) return;
    Awaited& write = entry.writes.front();
    std::vector<Literal> values;
    AddPlace(failure, (write.insert ? *write.insert : write.statement).Borrowed(values).Text());
    if (write.answers) std::exchange(write.answers, nullptr)->Failed(failure);
}

void Sender::RunAsUnit(const Work& work) {
    if (frame_ != Frame::None) return work();
    Call([&] {
        Opened();
        RaiseOwed();
        SendRows();
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
    if (frame_ == Frame::UnitLoaded) trip_.EndUnit();
    if (frame_ == Frame::Unit && (isWaitedFor || waitsForDisk_)) {
        CommitTransaction();
    } else if (frame_ == Frame::Unit) {
        QueueTrip();
        trips_.Add({.kind = Entry::Kind::Commit});
        OrGiveUp([&] { session_->Queue(kCommit); });
        isAhead_ = true;
    }
    frame_ = Frame::None;
}

// What was queued is part of it. Leaves the Errors alone; what failed before is raised by the next call.
void Sender::RollBack() noexcept {
    try {
        if (session_ && !HasRows() && (session_->Queued() > 0 || !trip_.Empty())) {
            QueueTrip();
            Ask([] {});
        }
    } catch (...) {
        owed_ = std::current_exception();
    }
    trip_.Take();
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

void Sender::RunExclusively(const Work& work) {
    try {
        Call([&] {
            Opened();
            SendPending();
            BeginSection();
        });
        work();
        Call([&] {
            RequireStanding();
            CommitTransaction();
            frame_ = Frame::None;
        });
    } catch (...) {
        RollBack();
        throw;
    }
}

// What begins it goes on its way with its first statement.
void Sender::BeginSection() {
    for (const char* command : {kBegin, kWaitForDisk, kLock}) {
        trips_.Add({.kind = command == kBegin ? Entry::Kind::Begin : Entry::Kind::Setting, .isWhole = false});
        session_->Queue(command);
    }
    frame_ = Frame::Exclusive;
    waitsForDisk_ = true;
}

// With what is left of it. The server ends a transaction in which something failed by rolling it back, and
// calls that no failure.
void Sender::CommitTransaction() {
    RaiseOwed();
    SendRows();
    QueueTrip();
    const Answer answer = Ask([&] { session_->Queue(kCommit); });
    if (std::string_view(PQcmdStatus(answer.get())) != "COMMIT") RaiseFallen();
    trips_.Take();
    isAhead_ = !waitsForDisk_;
    waitsForDisk_ = false;
}

}  // namespace iqrx::platform::postgres
