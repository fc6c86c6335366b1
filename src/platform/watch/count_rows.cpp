#include <algorithm>
#include <string>

#include "platform/watch/provider_wrapper.h"
#include "platform/watch/statement_meaning.h"
#include "platform/watch/watched_database.h"

namespace iqrx::platform::watch {

namespace {

using Count = std::atomic<std::int64_t>;

// The calendars' rows day by day: made here from those that were copied, and no rows of the ERP.
constexpr std::string_view kExpansion = "tcccp031";

// A statement as it counts. Of the statements of a unit it is known which they are: they fall together.
struct Counted {
    const Meaning* meaning;
    int unit = 0;  // 0: none
};

// One thread writes: no need for an addition that is atomic as a whole.
void Add(Count& count, std::int64_t rows) {
    count.store(count.load(std::memory_order_relaxed) + rows, std::memory_order_relaxed);
}

class Counter final : public AnswersInTurn<Counted> {
public:
    explicit Counter(RowCounts& counts) : counts_(counts) {}

    Counted Now(const Meaning& meaning) const { return {&meaning, unit_}; }

    void Note(const Counted& statement, std::int64_t rows) {
        const Meaning& meaning = *statement.meaning;
        if (meaning.table == kExpansion) return;
        Enter(statement.unit);
        switch (meaning.OnCopiedRows()) {
            case Deed::Update:
            case Deed::Batch:
                return Written(meaning.table, rows);
            case Deed::Insert:  // one row, also where the server counts none
                return Written(meaning.table, 1);
            case Deed::Sweep:
            case Deed::Delete:
                return Removed(rows);
            case Deed::Replace:
                Removed(rows);
                refilled_ = meaning.table;
                awaited_ = rows;
                return;
            case Deed::Other:
            case Deed::Read:
            case Deed::Mark:
                return;
        }
    }
    void NoteNewRow(const std::string& table) {
        Enter(unit_);
        Written(table, 1);
    }
    void NoteDeletedRow() {
        Enter(unit_);
        Removed(1);
    }

    void RunAsUnit(Connection& connection, const Connection::Work& work) {
        unit_ = ++units_;
        try {
            connection.RunAsUnit(work);
        } catch (...) {
            TakeOff(std::exchange(unit_, 0));
            throw;
        }
        unit_ = 0;
    }

    // At the end of a call that may wait for the database.
    struct EndOfWait {
        ~EndOfWait() {
            if (waited.load(std::memory_order_relaxed) != 0) waited.store(0, std::memory_order_relaxed);
        }
        std::atomic<int>& waited;
    };
    EndOfWait Waiting() { return {counts_.waitedSeconds}; }

private:
    void HearExecuted(Counted& statement, std::int32_t rows) override { Note(statement, std::max(rows, 0)); }
    void HearUpdated(Counted& statement, std::int32_t rows) override { Note(statement, std::max(rows, 0)); }
    // Where an update found nothing, its row is written now.
    void HearInserted(Counted& statement, std::int32_t) override { Note(statement, 1); }
    void HearFailed(Counted& statement, const RuntimeError&) override { TakeOff(statement.unit); }

    void Enter(int unit) {
        if (unit != noted_.unit) noted_ = {unit, 0, 0, awaited_};
    }
    void Written(const std::string& table, std::int64_t rows) {
        AddCopied(rows);
        if (awaited_ == 0 || table != refilled_) return;
        const std::int64_t back = std::min(awaited_, rows);
        awaited_ -= back;
        AddRemoved(-back);
    }
    void Removed(std::int64_t rows) {
        awaited_ = 0;
        AddRemoved(rows);
    }
    void AddCopied(std::int64_t rows) {
        Add(counts_.copied, rows);
        noted_.copied += rows;
    }
    void AddRemoved(std::int64_t rows) {
        Add(counts_.removed, rows);
        noted_.removed += rows;
    }
    // A unit that failed has written nothing.
    void TakeOff(int unit) {
        if (unit == 0 || unit != noted_.unit) return;
        Add(counts_.copied, -noted_.copied);
        Add(counts_.removed, -noted_.removed);
        awaited_ = noted_.awaitedBefore;
        noted_ = {unit, 0, 0, awaited_};
    }

    struct Noted {  // of the unit that counted last
        int unit = 0;
        std::int64_t copied = 0, removed = 0, awaitedBefore = 0;
    };

    RowCounts& counts_;
    Noted noted_;
    int unit_ = 0, units_ = 0;
    std::string refilled_;  // the table whose rows come back
    std::int64_t awaited_ = 0;
};

class CountingRecordset final : public RecordsetWrapper {
public:
    CountingRecordset(std::unique_ptr<Recordset> recordset, Counter& counter)
        : RecordsetWrapper(std::move(recordset)), counter_(counter) {}

    void Open(const Statement& source, CursorType cursor, LockType lock) override {
        const auto wait = counter_.Waiting();
        Wrapped().Open(source, cursor, lock);
        if (lock == LockType::ReadOnly) return;
        Meaning meaning = MeaningOf(source.Text());
        isCopied_ = meaning.kind == TableKind::Copied && meaning.table != kExpansion;
        table_ = std::move(meaning.table);
    }
    void Close() override {
        const auto wait = counter_.Waiting();
        Wrapped().Close();
    }
    void Update() override {
        const auto wait = counter_.Waiting();
        Wrapped().Update();
        if (isCopied_) counter_.NoteNewRow(table_);
    }
    void Delete() override {
        const auto wait = counter_.Waiting();
        Wrapped().Delete();
        if (isCopied_) counter_.NoteDeletedRow();
    }

private:
    Counter& counter_;
    bool isCopied_ = false;
    std::string table_;
};

class CountingConnection final : public ConnectionWrapper {
public:
    CountingConnection(std::unique_ptr<Connection> connection, RowCounts& counts)
        : ConnectionWrapper(std::move(connection)), counter_(counts) {}

    void Open(const std::string& connectionString) override {
        const auto wait = counter_.Waiting();
        Wrapped().Open(connectionString);
    }
    std::int32_t Execute(const Statement& statement) override {
        const auto wait = counter_.Waiting();
        const std::int32_t affected = Wrapped().Execute(statement);
        const Meaning& meaning = meanings_.Of(statement);
        const bool isBatch = meaning.deed == Deed::Batch;
        counter_.Note(counter_.Now(meaning), isBatch ? static_cast<std::int64_t>(SetsOf(statement, meaning))
                                                     : std::max(affected, 0));
        return affected;
    }
    void Send(const Statement& statement, Answers& answers) override {
        if (!CanBeKnownLater(statement)) return Connection::Send(statement, answers);
        const auto wait = counter_.Waiting();
        Wrapped().Send(statement, counter_.Await(answers, counter_.Now(meanings_.Of(statement))));
    }
    void Upsert(const Statement& update, const MakeStatement& insert, Answers& answers) override {
        if (!CanBeKnownLater(update)) return Connection::Upsert(update, insert, answers);
        const auto wait = counter_.Waiting();
        Wrapped().Upsert(update, insert, counter_.Await(answers, counter_.Now(meanings_.Of(update))));
    }
    void AwaitAnswers() override {
        const auto wait = counter_.Waiting();
        Wrapped().AwaitAnswers();
    }
    void Commit() override {
        const auto wait = counter_.Waiting();
        Wrapped().Commit();
    }
    void RunAsUnit(const Work& work) override { counter_.RunAsUnit(Wrapped(), work); }
    void RunExclusively(const Work& work) override {
        const auto wait = counter_.Waiting();
        Wrapped().RunExclusively(work);
    }
    std::unique_ptr<Recordset> CreateRecordset() override {
        return std::make_unique<CountingRecordset>(Wrapped().CreateRecordset(), counter_);
    }

private:
    // What a shape means is known forever, what a text means until the next one is asked about.
    static bool CanBeKnownLater(const Statement& statement) { return !statement.Form().pieces.empty(); }

    Counter counter_;
    Meanings meanings_;
};

}  // namespace

std::unique_ptr<DatabaseProvider> CountRows(DatabaseProvider& provider, RowCounts& counts) {
    return WrapEach(provider, [&counts](std::unique_ptr<Connection> connection) {
        return std::make_unique<CountingConnection>(std::move(connection), counts);
    });
}

}  // namespace iqrx::platform::watch
