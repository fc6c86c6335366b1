#include "platform/postgres/connection.h"

#include <algorithm>
#include <array>
#include <limits>

#include "platform/postgres/errors.h"
#include "platform/postgres/grammar.h"
#include "platform/postgres/postgres_database.h"
#include "platform/text.h"

namespace iqrx::platform::postgres {

namespace {

// A transaction that changes no row does not wait for the disk unless it leaves something in the log.
constexpr const char* kLeaveMark = "SELECT pg_logical_emit_message(true,'iQRXyQRXSync','')";
constexpr std::size_t kRowsAtOnce = 500;
constexpr int kRowsHeld = 1000;  // of a result, at a time

// A definition is no statement of the copy: a script goes to the server as it stands.
bool IsDefinition(std::string_view text) {
    for (text = Trim(text); text.starts_with("--"); text = Trim(text))
        text.remove_prefix(std::min(text.find('\n'), text.size()));
    const std::string_view verb = text.substr(0, text.find_first_of(" \t\r\n"));
    if (EqualIgnoringCase(verb, "ALTER")) {
        const std::string_view rest = Trim(text.substr(verb.size()));
        return !EqualIgnoringCase(rest.substr(0, 8), "SESSION ");
    }
    constexpr std::array<std::string_view, 5> kVerbs{"CREATE", "DROP", "COMMENT", "GRANT", "REVOKE"};
    return std::ranges::any_of(kVerbs, [&](auto known) { return EqualIgnoringCase(verb, known); });
}

// One more than are kept here: whether there are many is known with the first answer.
void AskForFirstRows(Program& program) {
    std::string& statement = program.translation.statements.front();
    program.select = statement;
    statement = "SELECT * FROM (" + statement + ") AS these LIMIT " + std::to_string(kRowsHeld + 1);
}

std::string FetchFrom(const std::string& cursor) {
    return "FETCH FORWARD " + std::to_string(kRowsHeld) + " FROM " + cursor;
}

}  // namespace

// Whoever would hear answers may be gone.
PostgresConnection::~PostgresConnection() {
    trip_.Take();
    trips_.Take();
    owed_ = nullptr;
    if (session_) session_->Discard();
    Close();
}

void PostgresConnection::Open(const std::string& connectionString) {
    Call([&] {
        Close();
        settings_ = SettingsOf(connectionString, connectionTimeout_);
        if (idle_) session_ = idle_->Take(settings_);
        if (!session_) session_ = std::make_unique<Session>(settings_);
        rowsPerTrip_ = static_cast<std::size_t>(settings_.rowsPerTrip);
        programs_.emplace(kGrammar, controlTables_, [](dialect::Translation made) {
            auto program = std::make_shared<Program>();
            program->statements.resize(made.statements.size());
            program->translation = std::move(made);
            if (program->translation.isSelect) AskForFirstRows(*program);
            return program;
        });
        const int limit = std::exchange(commandTimeout_, 0);
        SetCommandTimeout(limit);
    });
}

void PostgresConnection::Close() {
    if (!session_) return;
    try {
        Call([&] { SendPending(); });
    } catch (...) {  // LastErrors tells
    }
    ForgetTables();
    programs_.reset();
    trip_.Take();
    trips_.Take();
    if (idle_ && session_->IsAsBegun()) idle_->Keep(settings_, std::move(session_));
    session_.reset();
    owed_ = nullptr;
    frame_ = Frame::None;
    waitsForDisk_ = isAhead_ = false;
}

void PostgresConnection::SetCommandTimeout(int seconds) {
    if (seconds == commandTimeout_ || !session_) {
        commandTimeout_ = seconds;
        return;
    }
    Call([&] {
        SendPending();
        session_->NoteChange();
        const std::string limit = std::to_string(seconds) + "s";
        session_->Ask("SELECT set_config('statement_timeout',$1,false)", {limit.c_str()});
        commandTimeout_ = seconds;
    });
}

std::string PostgresConnection::DefaultDatabase() {
    return Call([&] {
        Opened();
        SendPending();
        if (const auto& schema = session_->FirstSchema()) return *schema;
        const Answer answer = session_->Ask("SELECT current_schema()::text");
        return std::string(PQgetvalue(answer.get(), 0, 0));
    });
}

void PostgresConnection::SetDefaultDatabase(const std::string& name) {
    Call([&] {
        Opened();
        SendPending();
        MoveTo(name);
    });
}

// The server takes the name of a schema that is not there, and of one that the user may not use, and then
// puts tables elsewhere or finds none.
void PostgresConnection::MoveTo(const std::string& schema) {
    const Answer found = session_->Ask(
        "SELECT count(*), current_database() FROM pg_catalog.pg_namespace"
        " WHERE nspname::text = $1::text AND has_schema_privilege(oid,'USAGE')",
        {schema.c_str()});
    if (std::string_view(PQgetvalue(found.get(), 0, 0)) == "0")
        Raise("3F000", "The database \"" + std::string(PQgetvalue(found.get(), 0, 1)) +
                           "\" has no schema \"" + schema + "\" that the user may use");
    session_->NoteChange();
    session_->Ask("SELECT set_config('search_path',quote_ident($1),false)", {schema.c_str()});
    ForgetTables();
}

std::int32_t PostgresConnection::Execute(const platform::Statement& statement) {
    const std::int64_t affected = Call([&]() -> std::int64_t {
        Opened();
        RaiseOwed();
        if (statement.Form().pieces.empty() && IsDefinition(statement.Text())) {
            SendPending();
            ForgetTables();
            session_->RunScript(std::string(statement.Text()));
            isAhead_ = true;
            Settle();
            return 0;
        }
        isOfEarlier_ = false;
        try {
            return Run(Find(statement));
        } catch (DatabaseFailure& failure) {
            if (!isOfEarlier_) AddPlace(failure, statement.Text());
            throw;
        }
    });
    return static_cast<std::int32_t>(std::min<std::int64_t>(affected, std::numeric_limits<std::int32_t>::max()));
}

std::int64_t PostgresConnection::Run(const dialect::Found& found) {
    const dialect::Translation& translation = found.program->translation;
    if (const std::string schema = translation.schema; !schema.empty()) {
        SendPending();
        MoveTo(schema);
        return 0;
    }
    if (translation.isSelect || translation.steps.empty()) return 0;
    if (translation.steps.size() > 1) return RunBatch(found);
    const dialect::Step& step = translation.steps.front();
    const Prepared& statement = *static_cast<Program&>(*found.program).statements[step.statement];
    parameters_.Clear();
    Bind(found, 0, step);
    if (frame_ == Frame::None && translation.statements.front().starts_with(kGrammar.statistics)) {
        SendPending();
        session_->Queue(statement, parameters_);
        session_->SendWithoutWait(true);
        return 0;
    }
    const std::int64_t affected = Write(statement, parameters_, found.program->touchesControlTable);
    return step.kind == dialect::Step::Kind::Run ? affected : 0;
}

std::int64_t PostgresConnection::Write(const Prepared& statement, const Parameters& parameters,
                                       bool touchesControlTable) {
    const Answer answer = Ask([&] {
        BeginWrite(touchesControlTable);
        session_->Queue(statement, parameters);
    });
    EndWrite(touchesControlTable);
    return CountOf(answer.get());
}

void PostgresConnection::Add(const Prepared& insert, const Parameters& row, bool touchesControlTable) {
    if (!HasRows()) {
        SendPending();
        BeginWrite(touchesControlTable);
    }
    session_->Queue(insert, row);
    if (touchesControlTable || session_->Queued() >= kRowsAtOnce) SendPending();
    if (touchesControlTable) EndWrite(true);
}

PostgresConnection::Selected PostgresConnection::Select(const platform::Statement& statement) {
    Opened();
    RaiseOwed();
    RequireStanding();
    constexpr std::string_view kResultChanged = "0A000";
    for (bool again = frame_ == Frame::None;; again = false) {
        const dialect::Found found = Find(statement);
        const dialect::Translation& translation = found.program->translation;
        if (!translation.isSelect) RaiseRecordsetError(kNotUpdatable, "The statement returns no rows");
        parameters_.Clear();
        Bind(found, 0, translation.steps.front());
        const std::shared_ptr<dialect::Program> program = found.program;
        try {
            Answer rows =
                Ask([&] { session_->Queue(*static_cast<Program&>(*program).statements.front(), parameters_); });
            Selected selected{std::move(rows), program->translation.tables, program->touchesControlTable};
            if (PQntuples(selected.rows.get()) <= kRowsHeld) return selected;
            selected.cursor = "c" + std::to_string(++cursors_);
            selected.rows = FirstRows(static_cast<const Program&>(*program), selected.cursor);
            return selected;
        } catch (const DatabaseFailure& failure) {
            if (!again || failure.sqlState != kResultChanged) throw;
            programs_->Forget();  // somebody has changed the table
        }
    }
}

// The server keeps the rows of this moment, whatever is written while they are read.
Answer PostgresConnection::FirstRows(const Program& program, const std::string& cursor) {
    const Prepared declaration("DECLARE " + cursor + " SCROLL CURSOR WITH HOLD FOR " + program.select,
                               program.translation.steps.front().literalCount);
    return Ask([&] {
        session_->Queue(declaration, parameters_);
        session_->Queue(FetchFrom(cursor).c_str());
    });
}

Answer PostgresConnection::NextRows(const std::string& cursor) {
    SendRows();
    return Ask([&] { session_->Queue(FetchFrom(cursor).c_str()); });
}

std::int64_t PostgresConnection::CountRows(const std::string& cursor, std::int64_t read) {
    SendRows();
    const Answer rest = Ask([&] { session_->Queue(("MOVE FORWARD ALL IN " + cursor).c_str()); });
    Ask([&] { session_->Queue(("MOVE ABSOLUTE " + std::to_string(read) + " IN " + cursor).c_str()); });
    return read + postgres::CountOf(rest.get());
}

void PostgresConnection::Rewind(const std::string& cursor) {
    SendRows();
    Ask([&] { session_->Queue(("MOVE ABSOLUTE 0 IN " + cursor).c_str()); });
}

// One that was declared in a unit that has fallen is gone with it; any other goes with the session then.
void PostgresConnection::Forget(const std::string& cursor) {
    if (session_ && frame_ != Frame::Fallen) Ask([&] { session_->Queue(("CLOSE " + cursor).c_str()); });
}

void PostgresConnection::Commit() {
    Call([&] {
        Opened();
        SendPending();
        Settle();
    });
}

void PostgresConnection::Settle() {
    if (!isAhead_ || frame_ == Frame::Unit || frame_ == Frame::Exclusive) return;
    session_->Queue(kWaitForDisk);
    session_->Queue(kLeaveMark);
    session_->Finish();
    isAhead_ = false;
}

}  // namespace iqrx::platform::postgres

namespace iqrx::platform {

std::unique_ptr<Connection> CreatePostgresConnection(TableNames controlTables,
                                                     std::shared_ptr<postgres::IdleSession> idle) {
    return std::make_unique<postgres::PostgresConnection>(std::move(controlTables), std::move(idle));
}

std::shared_ptr<postgres::IdleSession> IdlePostgresSession() {
    return std::make_shared<postgres::IdleSession>();
}

}  // namespace iqrx::platform
