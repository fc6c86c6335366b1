#include "platform/odbc/connection.h"

#include "platform/database_failure.h"
#include "platform/dialect/change.h"
#include "platform/odbc/odbc_database.h"
#include "platform/odbc/settings.h"
#include "platform/text.h"

namespace iqrx::platform::odbc {

namespace {

// A driver names the column at most.
void NameThePlace(RuntimeError& error, Errors& errors, std::string_view sql) {
    const std::string place = dialect::PlaceOf(sql);
    if (place.empty()) return;
    error.description += " (" + place + ")";
    errors.front().description = error.description;
}

}  // namespace

// Whoever would hear answers may be gone.
OdbcConnection::~OdbcConnection() {
    upserts_.Drop();
    Close();
}

void OdbcConnection::Open(const std::string& connectionString) {
    Call([&] {
        const Settings settings = SettingsOf(connectionString);
        Connect(settings.driverText);
        upserts_.SetRowsPerTrip(settings.rowsPerTrip);
        if (settings.commitInterval == 0) return;
        const WriteGroupLimits limits{.time = std::chrono::milliseconds(settings.commitInterval)};
        // The timer commits as well, in a thread of its own, and must leave the connection's errors alone.
        group_ = std::make_unique<WriteGroup>([this] { BeginTransaction(); },
                                              [this] { CommitTransaction(loss_); }, limits);
    });
}

void OdbcConnection::Close() noexcept {
    if (!IsOpen()) return;
    try {
        AwaitAnswers();
    } catch (...) {  // LastErrors tells
    }
    const auto group = std::move(group_);
    const auto turn = group ? group->Lock() : std::unique_lock<std::mutex>();
    recordsets.Release();
    shared_ = Handle();
    try {
        if (group) group->Commit();
    } catch (const WritesLost& loss) {
        errors = SaidOf(loss);
    }
    Disconnect();
    keys.clear();
    frame_ = Frame::None;
}

void OdbcConnection::SetCommandTimeout(int seconds) {
    Call([&] {
        if (seconds == commandTimeout_) return;
        commandTimeout_ = seconds;
        shared_ = Handle();  // made anew with the limit
    });
}

std::string OdbcConnection::DefaultDatabase() {
    return Call([&] {
        RequireOpen();
        return driver.catalogs ? Catalog() : catalog_;
    });
}

// A driver may take the name and stay where it is: writing to the wrong database would be worse than an
// error. A database without catalogs has nowhere else to go.
void OdbcConnection::SetDefaultDatabase(const std::string& name) {
    Call([&] {
        RequireOpen();
        if (!driver.catalogs) {
            catalog_ = name;
            return;
        }
        SetCatalog(name);
        const std::string current = Catalog();
        if (!EqualIgnoringCase(current, name))
            Raise(kDatabaseError,
                  "The connection stays in database \"" + current + "\" instead of \"" + name + "\"");
    });
}

std::int32_t OdbcConnection::Execute(const Statement& statement) {
    return Call([&] { return Execute(statement.Text()); });
}

std::int32_t OdbcConnection::Execute(std::string_view sql) {
    RequireOpen();
    recordsets.SendPending();
    if (frame_ == Frame::Exclusive) return Run(sql);
    if (frame_ == Frame::None && dialect::IsBatch(sql)) {
        // It takes effect as a whole or not at all; a server would keep what its statements did before the
        // one that fails.
        std::int32_t affected = 0;
        InTransaction([&] { affected = Run(sql); });
        return affected;
    }
    if (!group_) return Run(sql);
    const auto change = dialect::ChangeOf(sql);
    if (change.kind == dialect::Change::Kind::Rows) return InGroup(change.table, [&] { return Run(sql); });
    // Definitions, session settings and the like stand by themselves, as some of them have to.
    if (change.kind == dialect::Change::Kind::Other && frame_ != Frame::Unit) group_->Commit();
    return Run(sql);
}

std::int32_t OdbcConnection::Run(std::string_view sql) {
    if (!shared_) shared_ = NewStatement();
    try {
        return Finish(shared_, ExecuteText(shared_, sql));
    } catch (RuntimeError& error) {
        if (SpeakOfLongValue(errors)) NameThePlace(error, errors, sql);
        throw;
    }
}

void OdbcConnection::InTransaction(const Work& work) {
    if (group_) group_->Commit();
    BeginTransaction();
    try {
        work();
    } catch (...) {
        RollBackTransaction();
        throw;
    }
    CommitTransaction(errors);
}

void OdbcConnection::Commit() {
    try {
        Call([&] {
            RequireOpen();
            recordsets.SendPending();
        });
    } catch (const WritesLost&) {
        // Raised below, for the last time.
    }
    const auto turn = Turn();
    try {
        if (group_) group_->Settle();
    } catch (const WritesLost& loss) {
        errors = SaidOf(loss);
        throw;
    }
}

void OdbcConnection::RunAsUnit(const Work& work) {
    if (!group_ || frame_ != Frame::None) return work();
    Call([&] {
        recordsets.SendPending();
        frame_ = Frame::UnitAhead;
    });
    try {
        work();
        Call([&] { EndUnit(); });
    } catch (...) {
        AbandonUnit();
        throw;
    }
}

void OdbcConnection::BeginUnit() {
    if (frame_ != Frame::UnitAhead) return;
    frame_ = Frame::Unit;
    group_->Hold();
}

void OdbcConnection::EndUnit() {
    recordsets.SendPending();
    if (std::exchange(frame_, Frame::None) != Frame::Unit) return;
    group_->Release();
    group_->AfterWrite();
}

// Called inside a handler. There are no savepoints that every driver takes, so that the group goes with the
// unit: what was reported done before it is lost, and the next run has to do it again.
void OdbcConnection::AbandonUnit() {
    const auto turn = Turn();
    recordsets.DropPending();
    if (std::exchange(frame_, Frame::None) != Frame::Unit || !group_) return;
    group_->Release();
    AbandonGroup(CurrentError());
}

void OdbcConnection::RunExclusively(const Work& work) {
    Call([&] {
        RequireOpen();
        recordsets.SendPending();
        if (group_) group_->Commit();
    });
    const Errors before = errors;
    RepeatForVictims([&] { TryExclusively(work); }, [&] { return NamesAVictim(errors); });
    errors = before;  // not those of a victim
}

void OdbcConnection::TryExclusively(const Work& work) {
    errors.clear();
    const auto level = Call([&] { return RequireSerializable(); });
    try {
        Call([&] { BeginTransaction(); });
        frame_ = Frame::Exclusive;
        work();
        Call([&] {
            recordsets.SendPending();
            CommitTransaction(errors);
        });
        frame_ = Frame::None;
    } catch (...) {
        const auto turn = Turn();
        frame_ = Frame::None;
        recordsets.DropPending();
        RollBackTransaction();
        RestoreIsolation(level);
        throw;
    }
    const auto turn = Turn();
    RestoreIsolation(level);
}

void OdbcConnection::AfterWrite(std::string_view table) {
    if (frame_ != Frame::None) return;  // EndUnit counts the unit
    if (controlTables_.contains(LastPart(table)))
        group_->Commit();
    else
        group_->AfterWrite();
}

void OdbcConnection::Fail(const RuntimeError& error) {
    errors = SaidOf(error);
    // The handler of a unit ends the group.
    if (!group_ || !group_->IsOpen() || frame_ == Frame::Unit) return;
    if (EndATransaction(errors)) return AbandonGroup(error);
    try {
        group_->Commit();
    } catch (const WritesLost&) {
        errors.insert(errors.end(), loss_.begin(), loss_.end());
    }
}

// The group's writes are taken back, and told as lost unless it held none that was reported done.
void OdbcConnection::AbandonGroup(const RuntimeError& cause) {
    loss_ = SaidOf(cause);
    RollBackTransaction();
    group_->Abandon(cause);
}

// What the connection's errors are to be for an error that is raised: the driver's words, if it has said any.
Errors OdbcConnection::SaidOf(const RuntimeError& error) const {
    const bool isLoss = dynamic_cast<const WritesLost*>(&error) != nullptr;
    Errors said = isLoss ? loss_ : errors;
    // A loss adds to the words that it keeps; a value that does not convert is not the driver's affair.
    const ErrorEntry own{error.number, error.source, error.description, "HY000"};
    if (said.empty() || (!isLoss && said.front().description != error.description)) return {own};
    said.front().description = error.description;
    return said;
}

}  // namespace iqrx::platform::odbc

namespace iqrx::platform {

std::unique_ptr<Connection> CreateOdbcConnection(TableNames controlTables) {
    return std::make_unique<odbc::OdbcConnection>(std::move(controlTables));
}

}  // namespace iqrx::platform
