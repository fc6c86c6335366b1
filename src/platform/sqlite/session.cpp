#include "platform/sqlite/session.h"

#include <sqlite3.h>

#include <utility>

#include "platform/sqlite/errors.h"
#include "platform/sqlite/grammar.h"

namespace iqrx::platform::sqlite {

using dialect::Step;

namespace {

using namespace std::chrono_literals;

// Our own connections look twice in a millisecond and are served by a short pause. Others wait with SQLite's
// own handler, which looks every 100 ms in the end and gives up after seconds (five, in many programs): each
// of them meets two quiet times in which no load is running, however many loads there are.
constexpr WriteGroupLimits kGroupLimits{.time = 100ms, .pause = 0.01, .quiet = 125ms, .cycle = 2400ms};

// Statistics from a part of the rows serve as well, in a time that does not grow with the table. The log of
// changes is worked into the file at every 16 MB rather than at the default 4: rows in no order touch the
// same pages in every group.
constexpr const char* kSettings =
    "PRAGMA analysis_limit=400; PRAGMA cache_size=-16384; PRAGMA wal_autocheckpoint=4000";

}  // namespace

Session::Session(const std::filesystem::path& file, Database::Access access, Errors& errors,
                 const TableNames& controlTables, WaitListener listener)
    : file_(file),
      errors_(errors),
      database_(file, access, std::move(listener)),
      programs_(kGrammar, controlTables,
                [this](dialect::Translation made) { return Prepare(database_, std::move(made)); }),
      group_([this] { database_.Run("BEGIN IMMEDIATE"); }, [this] { CommitGroup(); }, kGroupLimits) {
    database_.Run(kSettings);
    beginUnit_ = Prepared(database_, "SAVEPOINT unit");
    endUnit_ = Prepared(database_, "RELEASE unit");
}

std::int64_t Session::Run(const Found& found) {
    const dialect::Translation& translation = found.program->translation;
    if (translation.isSelect || translation.steps.empty()) return 0;
    std::int64_t affected = 0;
    InGroup(found.program->touchesControlTable,
            [&] { affected = translation.steps.size() == 1 ? RunSteps(found, 0) : RunBatch(found); });
    return affected;
}

// A batch takes effect as a whole or not at all.
std::int64_t Session::RunBatch(const Found& found) {
    Transaction batch = Transaction::Nested(database_);
    std::int64_t affected = 0;
    for (std::size_t set = 0; set < found.sets; ++set) affected += RunSteps(found, set);
    batch.Keep();
    return affected;
}

std::int64_t Session::RunSteps(const Found& found, std::size_t set) {
    Program& program = ProgramOf(found);
    const std::vector<Step>& steps = program.translation.steps;
    std::int64_t affected = 0, kept = 0;
    for (std::size_t next = 0; next < steps.size();) {
        const Step& step = steps[next++];
        if (step.kind == Step::Kind::Skip) {
            next = step.target;
            continue;
        }
        if (step.kind == Step::Kind::SkipUnless) {
            const Literal& wanted = *found.Of(set, step.firstLiteral, step.literalCount).front();
            if (wanted.Is() != Literal::Kind::Whole || wanted.WholeNumber() != kept) next = step.target;
            continue;
        }
        Prepared& statement = program.statements[step.statement];
        program.Bind(found, statement, set, step.firstLiteral, step.literalCount);
        const ResetAtEnd reset(statement);
        const bool row = statement.Step();
        if (step.kind == Step::Kind::Count && row) kept = statement.Whole(0);
        if (step.kind == Step::Kind::Run) affected += database_.Changes();
    }
    return affected;
}

void Session::Settle() {
    const auto turn = group_.Lock();
    try {
        group_.Settle();
        database_.RequireUnchanged();
    } catch (...) {
        errors_ = {EntryOf(std::current_exception())};
        MakeRoom();
        throw;
    }
}

void Session::RunAsUnit(const Connection::Work& work) {
    frame_ = Frame::UnitAhead;
    try {
        work();
        Call([&] { EndUnit(); });
    } catch (...) {
        AbandonUnit();
        throw;
    }
}

void Session::BeginUnit() {
    if (frame_ != Frame::UnitAhead) return;
    const ResetAtEnd reset(beginUnit_);
    beginUnit_.Step();
    frame_ = Frame::Unit;
    group_.Hold();
}

void Session::EndUnit() {
    if (frame_ == Frame::Unit) {
        const ResetAtEnd reset(endUnit_);
        endUnit_.Step();
        frame_ = Frame::None;
        group_.Release();
        group_.AfterWrite();
    }
    frame_ = Frame::None;
}

// Called inside a handler. Errors keeps the failure that ended the unit.
void Session::AbandonUnit() {
    const auto turn = group_.Lock();
    group_.Release();
    if (std::exchange(frame_, Frame::None) != Frame::Unit || !database_.InTransaction()) return;
    try {
        database_.Run("ROLLBACK TO unit; RELEASE unit");
        group_.Commit();
    } catch (...) {
        const RuntimeError error = CurrentError();
        errors_.push_back(EntryOf(std::current_exception()));
        RollBack();
        group_.Abandon(error);
    }
}

void Session::RunExclusively(const Connection::Work& work) {
    Call([&] {
        group_.Commit();
        database_.Run("BEGIN IMMEDIATE");
        frame_ = Frame::Exclusive;
    });
    try {
        work();
        Call([&] { database_.Run("COMMIT"); });
        frame_ = Frame::None;
    } catch (...) {
        const auto turn = group_.Lock();
        frame_ = Frame::None;
        RollBack();
        throw;
    }
}

void Session::CommitGroup() {
    try {
        database_.Run("COMMIT");
    } catch (...) {
        RollBack();
        throw;
    }
}

void Session::RollBack() noexcept {
    try {
        if (database_.InTransaction()) database_.Run("ROLLBACK");
    } catch (const RuntimeError&) {
        // The transaction ends with the connection then.
    }
}

// Called inside a handler. A unit or an exclusive section that this ends is rolled back by its own handler.
void Session::Fail() {
    const RuntimeError error = CurrentError();
    errors_ = {EntryOf(std::current_exception())};
    try {
        if (!database_.InTransaction())
            group_.Abandon(error);
        else
            Commit();
    } catch (...) {
        errors_.push_back(EntryOf(std::current_exception()));
    }
    MakeRoom();
}

// On a full disk the log of changes cannot grow. Worked into the file it is written from its beginning again,
// and the next statement, which may be the one that frees a table, finds room in it.
void Session::MakeRoom() {
    const bool isFull = (errors_.front().number & 0xFF) == SQLITE_FULL;
    if (isFull && !database_.InTransaction()) sqlite3_wal_checkpoint(database_.Handle(), nullptr);
}

}  // namespace iqrx::platform::sqlite
