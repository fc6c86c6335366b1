#include <utility>

#include "platform/watch/provider_wrapper.h"
#include "platform/watch/statement_meaning.h"
#include "platform/watch/watched_database.h"

namespace iqrx::platform::watch {

namespace {

// Where a connection may stop.
class Stop {
public:
    Stop(Connection& connection, const StopRequest& request) : connection_(connection), request_(request) {}

    // Before each statement.
    void Check(const Statement& statement) {
        if (const auto who = Asked()) Check(MeaningOf(statement.Text()), *who);
    }
    void Check(const Meaning& meaning) {
        if (const auto who = Asked()) Check(meaning, *who);
    }
    bool IsRefilling() const { return !refilled_.empty(); }
    // After a statement that went through.
    void Sent(const Meaning& meaning) {
        if (meaning.OnCopiedRows() == Deed::Replace)
            refilled_ = meaning.table;
        else if (!refilled_.empty() && meaning.table != refilled_ && meaning.kind == TableKind::Copied)
            refilled_.clear();
    }

    void RunAsUnit(const Connection::Work& work) {
        if (const auto who = Asked()) Raise(*who);
        isInUnit_ = true;
        try {
            connection_.RunAsUnit(work);
        } catch (...) {
            isInUnit_ = false;
            throw;
        }
        isInUnit_ = false;
    }

    // The section in which a table is taken; nothing of it has happened when it fails.
    void RunExclusively(const Connection::Work& work) {
        try {
            connection_.RunExclusively(work);
        } catch (...) {
            hasKeptFromTaking_ = Asked().has_value();
            throw;
        }
    }
    bool HasKeptFromTaking() const { return hasKeptFromTaking_; }

private:
    std::optional<std::string> Asked() const { return isInUnit_ ? std::nullopt : request_.Asked(); }

    void Check(const Meaning& meaning, const std::string& who) {
        if (meaning.kind == TableKind::Control) return;
        const bool refills = meaning.deed == Deed::Insert || meaning.deed == Deed::Read;
        if (refills && !refilled_.empty() && meaning.table == refilled_) return;
        refilled_.clear();
        Raise(who);
    }

    // Nothing goes through this connection any more: with the state of one that is not there, a copy that
    // would log the failure and go on ends, too.
    [[noreturn]] void Raise(const std::string& who) {
        Refuse(connection_, kStopped, "stopped by " + who, "08003");
    }

    Connection& connection_;
    const StopRequest& request_;
    bool isInUnit_ = false;
    bool hasKeptFromTaking_ = false;
    std::string refilled_;  // the table whose rows were deleted and are coming anew
};

class StoppableRecordset final : public RecordsetWrapper {
public:
    StoppableRecordset(std::unique_ptr<Recordset> recordset, Stop& stop)
        : RecordsetWrapper(std::move(recordset)), stop_(stop) {}

    void Open(const Statement& source, CursorType cursor, LockType lock) override {
        stop_.Check(source);
        Wrapped().Open(source, cursor, lock);
        if (lock != LockType::ReadOnly) source_ = MeaningOf(source.Text());
    }
    void AddNew() override {
        stop_.Check(source_);
        Wrapped().AddNew();
    }
    void Update() override {
        stop_.Check(source_);
        Wrapped().Update();
    }
    void Delete() override {
        stop_.Check(source_);
        Wrapped().Delete();
    }

private:
    Stop& stop_;
    Meaning source_;
};

// Who holds the database would be waited for, to free a table that was not taken.
bool Frees(const Statement& statement) {
    constexpr std::string_view kFree = "UPDATE tstables SET in_use = 0";
    return std::string_view(statement.Text()).starts_with(kFree);
}

class StoppableConnection final : public ConnectionWrapper {
public:
    StoppableConnection(std::unique_ptr<Connection> connection, const StopRequest& stop)
        : ConnectionWrapper(std::move(connection)), stop_(Wrapped(), stop) {}

    std::int32_t Execute(const Statement& statement) override {
        stop_.Check(statement);
        const std::int32_t affected = Wrapped().Execute(statement);
        if (stop_.IsRefilling() || !OnlyWritesARow(statement)) stop_.Sent(meanings_.Of(statement));
        return affected;
    }
    void Send(const Statement& statement, Answers& answers) override {
        if (stop_.IsRefilling() || Empties(statement)) return Connection::Send(statement, answers);
        stop_.Check(statement);
        Wrapped().Send(statement, answers);
    }
    void Upsert(const Statement& update, const MakeStatement& insert, Answers& answers) override {
        if (stop_.IsRefilling()) return Connection::Upsert(update, insert, answers);
        stop_.Check(update);
        if (stop_.HasKeptFromTaking() && Frees(update)) return answers.Updated(1);
        Wrapped().Upsert(update, insert, answers);
    }
    void RunAsUnit(const Work& work) override { stop_.RunAsUnit(work); }
    void RunExclusively(const Work& work) override { stop_.RunExclusively(work); }
    std::unique_ptr<Recordset> CreateRecordset() override {
        return std::make_unique<StoppableRecordset>(Wrapped().CreateRecordset(), stop_);
    }

private:
    bool Empties(const Statement& statement) {
        return !OnlyWritesARow(statement) && meanings_.Of(statement).OnCopiedRows() == Deed::Replace;
    }

    Stop stop_;
    Meanings meanings_;
};

}  // namespace

std::unique_ptr<DatabaseProvider> StopBetweenStatements(DatabaseProvider& provider, const StopRequest& stop) {
    return WrapEach(provider, [&stop](std::unique_ptr<Connection> connection) {
        return std::make_unique<StoppableConnection>(std::move(connection), stop);
    });
}

}  // namespace iqrx::platform::watch
