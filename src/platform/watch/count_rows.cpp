#include <algorithm>
#include <string>
#include <utility>

#include "platform/watch/provider_wrapper.h"
#include "platform/watch/statement_meaning.h"
#include "platform/watch/watched_database.h"

namespace iqrx::platform::watch {

namespace {

using Count = std::atomic<std::int64_t>;

// The calendars' rows day by day: made here from those that were copied, and no rows of the ERP.
constexpr std::string_view kExpansion = "tcccp031";

// One thread writes: no need for an addition that is atomic as a whole.
void Add(Count& count, std::int64_t rows) {
    count.store(count.load(std::memory_order_relaxed) + rows, std::memory_order_relaxed);
}

class Counter {
public:
    explicit Counter(RowCounts& counts) : counts_(counts) {}

    void Written(const std::string& table, std::int64_t rows) {
        Add(counts_.copied, rows);
        if (awaited_ == 0 || table != refilled_) return;
        const std::int64_t back = std::min(awaited_, rows);
        awaited_ -= back;
        Add(counts_.removed, -back);
    }
    void Removed(std::int64_t rows) {
        awaited_ = 0;
        Add(counts_.removed, rows);
    }
    void Replaced(const std::string& table, std::int64_t rows) {
        Removed(rows);
        refilled_ = table;
        awaited_ = rows;
    }

    // Runs the work; when it fails, what it counted is taken off.
    template <class Work>
    void Undoing(Work work) {
        const std::int64_t copied = counts_.copied, removed = counts_.removed, awaited = awaited_;
        try {
            work();
        } catch (...) {
            counts_.copied = copied;
            counts_.removed = removed;
            awaited_ = awaited;
            throw;
        }
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
    RowCounts& counts_;
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
        if (isCopied_) counter_.Written(table_, 1);
    }
    void Delete() override {
        const auto wait = counter_.Waiting();
        Wrapped().Delete();
        if (isCopied_) counter_.Removed(1);
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
        Note(statement, std::max(affected, 0));
        return affected;
    }
    void Commit() override {
        const auto wait = counter_.Waiting();
        Wrapped().Commit();
    }
    void RunAsUnit(const Work& work) override {
        counter_.Undoing([&] { Wrapped().RunAsUnit(work); });
    }
    void RunExclusively(const Work& work) override {
        const auto wait = counter_.Waiting();
        Wrapped().RunExclusively(work);
    }
    std::unique_ptr<Recordset> CreateRecordset() override {
        return std::make_unique<CountingRecordset>(Wrapped().CreateRecordset(), counter_);
    }

private:
    void Note(const Statement& statement, std::int64_t affected) {
        const Meaning& meaning = meanings_.Of(statement);
        if (meaning.table == kExpansion) return;
        switch (meaning.OnCopiedRows()) {
            case Deed::Update:
                return counter_.Written(meaning.table, affected);
            case Deed::Insert:  // one row, also where the server counts none
                return counter_.Written(meaning.table, 1);
            case Deed::Batch:
                return counter_.Written(meaning.table, static_cast<std::int64_t>(SetsOf(statement, meaning)));
            case Deed::Sweep:
            case Deed::Delete:
                return counter_.Removed(affected);
            case Deed::Replace:
                return counter_.Replaced(meaning.table, affected);
            case Deed::Other:
            case Deed::Read:
            case Deed::Mark:
                return;
        }
    }

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
