#include <algorithm>
#include <map>

#include "platform/conversions.h"
#include "platform/watch/provider_wrapper.h"
#include "platform/watch/statement_meaning.h"
#include "platform/watch/watched_database.h"

namespace iqrx::platform::watch {

namespace {

// What a copy has removed of its tables so far, and may remove.
class Guard {
public:
    Guard(Connection& connection, const RemovalLimits& limits, std::optional<RefusedRemoval>& refused)
        : connection_(connection), limits_(limits), refused_(refused) {}

    void Marked(const Meaning& mark, std::int32_t rows) {
        tables_[mark.table] = {rows < 0 ? std::nullopt : std::optional<std::int64_t>(rows), 0};
    }

    void CheckSweep(const Meaning& sweep) {
        if (limits_.Of(sweep.table).AllowsAll()) return;
        Rows& rows = tables_[sweep.table];
        if (rows.before == 0) return;  // there was nothing to mark
        const std::int64_t doomed = Count("SELECT count(*) FROM " + sweep.name + " WHERE upd_flag = 1");
        Check(sweep, rows, doomed);
    }

    // Rows are known by their keys: a delete takes one or none, and only near the limit it matters which.
    void CheckDelete(const Meaning& deletion, const Statement& statement) {
        CheckNearLimit(deletion, [&] { return Count(CountOfDoomed(statement.Text())); });
    }

    void CheckDeleteOfRow(const Meaning& source) {
        CheckNearLimit(source, [] { return 1; });
    }

    void Removed(const Meaning& deletion, std::int32_t rows) {
        tables_[deletion.table].removed += std::max(rows, 0);
    }

private:
    struct Rows {
        std::optional<std::int64_t> before;  // the copy; none: not known yet
        std::int64_t removed = 0;
    };

    std::int64_t Count(const std::string& text) {
        const auto rows = connection_.CreateRecordset();
        rows->Open(text, CursorType::ForwardOnly, LockType::ReadOnly);
        const auto count = rows->Eof() ? std::int64_t{0} : static_cast<std::int64_t>(ToDouble(rows->Field(0)));
        rows->Close();
        return count;
    }
    std::int64_t CountAll(const Meaning& meaning) { return Count("SELECT count(*) FROM " + meaning.name); }

    std::int64_t Before(const Meaning& meaning, Rows& rows) {
        if (!rows.before) rows.before = CountAll(meaning);
        return *rows.before;
    }

    template <class Doomed>
    void CheckNearLimit(const Meaning& meaning, Doomed doomed) {
        const RemovalLimit& limit = limits_.Of(meaning.table);
        if (limit.AllowsAll()) return;
        Rows& rows = tables_[meaning.table];
        const std::int64_t before = Before(meaning, rows), removed = rows.removed + 1;
        // Without a look at the table, which may have grown since.
        const bool mayLoseOne = limit.Allows(removed, before) && (limit.AllowsEmptying() || removed < before);
        if (!mayLoseOne) Check(meaning, rows, doomed());
    }

    void Check(const Meaning& meaning, Rows& rows, std::int64_t doomed) {
        if (doomed == 0) return;
        const RemovalLimit& limit = limits_.Of(meaning.table);
        const std::int64_t before = Before(meaning, rows), removed = rows.removed + doomed;
        if (!limit.Allows(removed, before)) Raise({meaning.table, removed, before, limit.Text()});
        if (!limit.AllowsEmptying() && CountAll(meaning) <= doomed)
            Raise({meaning.table, removed, before, "limit: never all rows"});
    }

    [[noreturn]] void Raise(RefusedRemoval refusal) {
        const std::string text = refusal.table + ": " + refusal.Text();
        refused_ = std::move(refusal);
        Refuse(connection_, kInvalidProcedureCall, text, "");
    }

    Connection& connection_;
    const RemovalLimits& limits_;
    std::optional<RefusedRemoval>& refused_;
    std::map<std::string, Rows, std::less<>> tables_;
};

class GuardedRecordset final : public RecordsetWrapper {
public:
    GuardedRecordset(std::unique_ptr<Recordset> recordset, Guard& guard)
        : RecordsetWrapper(std::move(recordset)), guard_(guard) {}

    void Open(const Statement& source, CursorType cursor, LockType lock) override {
        if (lock != LockType::ReadOnly) source_ = MeaningOf(source.Text());
        Wrapped().Open(source, cursor, lock);
    }
    void Delete() override {
        const bool isGuarded = source_.kind == TableKind::Copied;
        if (isGuarded) guard_.CheckDeleteOfRow(source_);
        Wrapped().Delete();
        if (isGuarded) guard_.Removed(source_, 1);
    }

private:
    Guard& guard_;
    Meaning source_;
};

class GuardedConnection final : public ConnectionWrapper {
public:
    GuardedConnection(std::unique_ptr<Connection> connection, const RemovalLimits& limits,
                      std::optional<RefusedRemoval>& refused)
        : ConnectionWrapper(std::move(connection)), guard_(Wrapped(), limits, refused) {}

    std::int32_t Execute(const Statement& statement) override {
        if (OnlyWritesARow(statement)) return Wrapped().Execute(statement);
        const Meaning& meaning = meanings_.Of(statement);
        const Deed deed = meaning.OnCopiedRows();
        if (deed == Deed::Sweep) guard_.CheckSweep(meaning);
        if (deed == Deed::Delete) guard_.CheckDelete(meaning, statement);
        const std::int32_t affected = Wrapped().Execute(statement);
        if (deed == Deed::Mark) guard_.Marked(meaning, affected);
        if (deed == Deed::Delete) guard_.Removed(meaning, affected);
        return affected;
    }
    // What removes rows waits for its count: the next removal is judged by it.
    void Send(const Statement& statement, Answers& answers) override {
        meanings_.LeaveCopiedRows(statement) ? Wrapped().Send(statement, answers)
                                             : Connection::Send(statement, answers);
    }
    void Upsert(const Statement& update, const MakeStatement& insert, Answers& answers) override {
        Wrapped().Upsert(update, insert, answers);
    }
    std::unique_ptr<Recordset> CreateRecordset() override {
        return std::make_unique<GuardedRecordset>(Wrapped().CreateRecordset(), guard_);
    }

private:
    Guard guard_;
    Meanings meanings_;
};

}  // namespace

std::string RefusedRemoval::Text() const {
    std::string text = "would remove " + std::to_string(removed) + " of " + std::to_string(of) +
                       (of == 1 ? " row (" : " rows (");
    if (of > 0) text += std::to_string(removed * 100 / of) + " %, ";
    return text + limit + ")";
}

std::unique_ptr<DatabaseProvider> GuardRemovals(DatabaseProvider& provider, const RemovalLimits& limits,
                                                std::optional<RefusedRemoval>& refused) {
    return WrapEach(provider, [&limits, &refused](std::unique_ptr<Connection> connection) {
        refused.reset();
        return std::make_unique<GuardedConnection>(std::move(connection), limits, refused);
    });
}

}  // namespace iqrx::platform::watch
