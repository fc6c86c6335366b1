#include "platform/postgres/session.h"

#include <poll.h>

#include <utility>

#include "platform/postgres/errors.h"
#include "platform/postgres/login.h"

namespace iqrx::platform::postgres {

namespace {

// Whatever the site has set: dates come in one form, a statement sees what others have committed, nothing
// ends a wait that the port does not, a commit does not wait for the disk, and a statement is planned once.
constexpr const char* kReady =
    "SELECT set_config('DateStyle','ISO, YMD',false), set_config('extra_float_digits','1',false),"
    " set_config('default_transaction_isolation','read committed',false),"
    " set_config('statement_timeout','0',false), set_config('lock_timeout','0',false),"
    " set_config('synchronous_commit','off',false), set_config('client_min_messages','warning',false),"
    " set_config('plan_cache_mode','force_generic_plan',false), set_config('jit','off',false),"
    " current_schema()::text AS first_schema";

std::string WithState(const Said& said) {
    return said.sqlState.empty() ? said.words : "[" + said.sqlState + "] " + said.words;
}

// To libpq it is a notice when no command is under way.
void KeepFarewell(void* farewell, const PGresult* notice) {
    const Said said = SaidOf(notice, nullptr);
    if (said.endsSession) static_cast<std::string*>(farewell)->assign(WithState(said));
}

}  // namespace

Session::Session(const Settings& settings) : link_(LogIn(settings)) {
    PQsetNoticeReceiver(link_.get(), KeepFarewell, &farewell_);
    EnterPipeline();
    Queue(kReady);
    SendWithoutWait();
}

void Session::EnterPipeline() {
    if (!PQenterPipelineMode(link_.get())) Fail(nullptr);
}

void Session::LeavePipeline() {
    if (!PQexitPipelineMode(link_.get())) Fail(nullptr);
}

void Session::RequireLink() const {
    if (!lost_.empty()) RaiseLost(lost_);
}

// What libpq says itself, without a state, is mostly that the server is gone; it may have to look once more.
void Session::Fail(const PGresult* answer) {
    const Said said = SaidOf(answer, link_.get());
    const bool isLost = said.endsSession || PQstatus(link_.get()) == CONNECTION_BAD ||
                        (said.sqlState.empty() && !PQconsumeInput(link_.get()));
    if (!isLost) Raise(said.sqlState.empty() ? "HY000" : said.sqlState, said.words);
    queued_ = left_ = 0;
    NoteChange();
    lost_ = said.sqlState.empty() && !farewell_.empty() ? farewell_ : WithState(said);
    RaiseLost(lost_);
}

void Session::Count(int sent) {
    if (!sent) Fail(nullptr);
    ++queued_;
}

Session::Kept Session::Prepare(const std::string& sql, const std::vector<Oid>& types) {
    return Prepare({{sql, types}}).front();
}

std::vector<Session::Kept> Session::Prepare(const std::vector<Source>& sources, Answer* answer) {
    RequireLink();
    if (!InTransaction())
        for (const std::string& name : std::exchange(*unused_, {})) Queue(("DEALLOCATE " + name).c_str());
    const std::size_t before = queued_;
    std::vector<std::string> names;
    for (const auto& [sql, types] : sources) {
        const std::string& name = names.emplace_back("s" + std::to_string(++names_));
        Count(PQsendPrepare(link_.get(), name.c_str(), sql.c_str(), static_cast<int>(types.size()),
                            types.data()));
        Count(PQsendDescribePrepared(link_.get(), name.c_str()));
    }
    std::vector<Answer> answers = Finish();
    if (answer) *answer = std::move(answers.front());
    std::vector<Kept> prepared;
    for (std::size_t i = 0; i < names.size(); ++i) {
        const PGresult* const description = answers[before + 2 * i + 1].get();
        std::vector<Oid> found;
        found.reserve(static_cast<std::size_t>(PQnparams(description)));
        for (int place = 0; place < PQnparams(description); ++place)
            found.push_back(PQparamtype(description, place));
        prepared.push_back(std::make_shared<Prepared>(names[i], std::move(found), unused_));
    }
    return prepared;
}

Session::Kept Session::Promise(const std::string& sql, const std::vector<Oid>& types) {
    return std::make_shared<Prepared>("s" + std::to_string(++names_), sql, types, unused_);
}

void Session::Tell(const Prepared& statement) {
    RequireLink();
    const std::vector<Oid>& types = statement.Types();
    Count(PQsendPrepare(link_.get(), statement.Name().c_str(), statement.Sql().c_str(),
                        static_cast<int>(types.size()), types.data()));
    statement.Become(Prepared::Told::Name);
}

void Session::SendWithoutWait(bool isHelp) {
    ReceiveLeft();
    if (!PQpipelineSync(link_.get())) Fail(nullptr);
    left_ = std::exchange(queued_, 0);
    isHelpLeft_ = isHelp;
}

void Session::Queue(const Prepared& statement, const Parameters& parameters) {
    RequireLink();
    Count(statement.IsKnown() ? PQsendQueryPrepared(link_.get(), statement.Name().c_str(), parameters.Count(),
                                                    parameters.Texts(), nullptr, nullptr, 0)
                              : PQsendQueryParams(link_.get(), statement.Sql().c_str(), parameters.Count(),
                                                  nullptr, parameters.Texts(), nullptr, nullptr, 0));
}

void Session::Queue(const Prepared& statement, Arrays& rows) {
    RequireLink();
    const Arrays::Values& values = rows.Ready();
    Count(PQsendQueryPrepared(link_.get(), statement.Name().c_str(), static_cast<int>(values.starts.size()),
                              values.starts.data(), values.sizes.data(), values.formats.data(), 0));
}

void Session::Queue(const char* command, std::initializer_list<const char*> texts) {
    RequireLink();
    Count(PQsendQueryParams(link_.get(), command, static_cast<int>(texts.size()), nullptr, texts.begin(),
                            nullptr, nullptr, 0));
}

// A command has one answer, after which comes a null, and the end of a trip is one by itself. Where the
// server ends the session, its words come first and the end of the connection after them.
Answer Session::Receive() {
    Answer answer(PQgetResult(link_.get()));
    if (answer && PQresultStatus(answer.get()) != PGRES_PIPELINE_SYNC)
        while (Answer(PQgetResult(link_.get())))
            ;
    const bool isOver =
        PQresultStatus(answer.get()) == PGRES_FATAL_ERROR && SaidOf(answer.get(), link_.get()).endsSession;
    if (isOver || PQstatus(link_.get()) == CONNECTION_BAD) Fail(answer.get());
    return answer;
}

// libpq reads while it waits to send, so that neither side holds up the other.
void Session::Send() {
    RequireLink();
    if (!PQpipelineSync(link_.get())) Fail(nullptr);
    NoteWait();
}

void Session::Flush() {
    RequireLink();
    if (!PQsendFlushRequest(link_.get()) || PQflush(link_.get()) < 0) Fail(nullptr);
}

void Session::ReceiveLeft() {
    for (bool isOver = left_ == 0; !isOver;) {
        Answer answer = Receive();
        isOver = PQresultStatus(answer.get()) == PGRES_PIPELINE_SYNC;
        if (const int column = PQfnumber(answer.get(), "first_schema"); column >= 0 && !isChanged_)
            firstSchema_ = PQgetvalue(answer.get(), 0, column);
        if (!isOver && IsFailure(answer.get()) && !isHelpLeft_ && !leftFailure_)
            leftFailure_ = std::move(answer);
    }
    left_ = 0;
}

Answer Session::Next() {
    ReceiveLeft();
    --queued_;
    Answer answer = Receive();
    if (leftFailure_) answer = std::move(leftFailure_);
    return answer;
}

bool Session::HasAnswer() {
    RequireLink();
    if (!PQconsumeInput(link_.get())) Fail(nullptr);
    return !PQisBusy(link_.get());
}

// What the server checks with the commit fails after the last command, which has its answer then.
Answer Session::End() {
    ReceiveLeft();
    Answer failure = std::move(leftFailure_);
    for (bool wasEmpty = false;;) {
        Answer answer(PQgetResult(link_.get()));
        if (PQstatus(link_.get()) == CONNECTION_BAD) Fail(answer.get());
        if (PQresultStatus(answer.get()) == PGRES_PIPELINE_SYNC || (!answer && wasEmpty)) return failure;
        wasEmpty = !answer;
        if (answer) failure = std::move(answer);
    }
}

std::vector<Answer> Session::Finish() {
    Send();
    std::vector<Answer> answers;
    while (queued_ > 0) answers.push_back(Next());
    if (Answer failure = End()) answers.push_back(std::move(failure));
    for (const Answer& answer : answers)
        if (IsFailure(answer.get()) && !WasNotDone(answer.get())) Fail(answer.get());
    return answers;
}

void Session::Discard() noexcept {
    try {
        if (lost_.empty()) Finish();
    } catch (const std::exception&) {
        // Somebody has raised what matters.
    }
}

Answer Session::Ask(const char* command, std::initializer_list<const char*> texts) {
    Queue(command, texts);
    return std::move(Finish().back());
}

void Session::NoteChange() {
    isChanged_ = true;
    firstSchema_.reset();
}

bool Session::IsAsBegun() const {
    return !isChanged_ && lost_.empty() && !leftFailure_ && queued_ == 0 && left_ == 0 && !InTransaction();
}

bool Session::IsQuiet() const {
    pollfd said{PQsocket(link_.get()), POLLIN, 0};
    return poll(&said, 1, 0) == 0;
}

void Session::RunScript(const std::string& script) {
    RequireLink();
    NoteChange();
    Finish();
    LeavePipeline();
    const Answer answer(PQexec(link_.get(), script.c_str()));
    if (PQstatus(link_.get()) == CONNECTION_BAD) Fail(answer.get());
    EnterPipeline();
    if (IsFailure(answer.get())) Fail(answer.get());
}

}  // namespace iqrx::platform::postgres
