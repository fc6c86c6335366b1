#include "support/late_database.h"

#include "platform/error.h"

namespace iqrx::testing {

namespace {

using namespace platform;

// Everything that asks the server waits for what was sent before.
class LateRecordset final : public RecordsetWrapper {
public:
    LateRecordset(std::unique_ptr<Recordset> recordset, Connection& connection)
        : RecordsetWrapper(std::move(recordset)), connection_(connection) {}
    void Open(const Statement& source, CursorType cursor, LockType lock) override {
        connection_.AwaitAnswers();
        Wrapped().Open(source, cursor, lock);
    }
    void Update() override {
        connection_.AwaitAnswers();
        Wrapped().Update();
    }
    void Delete() override {
        connection_.AwaitAnswers();
        Wrapped().Delete();
    }

private:
    Connection& connection_;
};

}  // namespace

void LateConnection::Close() {
    try {
        AwaitAnswers();
    } catch (const RuntimeError&) {
        // A connection closes whatever failed before.
    }
    Wrapped().Close();
}

std::int32_t LateConnection::Execute(const Statement& statement) {
    AwaitAnswers();
    return Wrapped().Execute(statement);
}

void LateConnection::Send(const Statement& statement, Answers& answers) {
    Add({std::string(statement.Text()), "", false, &answers});
}

void LateConnection::Upsert(const Statement& update, const MakeStatement& insert, Answers& answers) {
    Unit unit{std::string(update.Text()), "", true, &answers};
    try {
        unit.insert = insert().Text();
    } catch (...) {
        return Connection::Upsert(update, insert, answers);
    }
    Add(std::move(unit));
}

void LateConnection::AwaitAnswers() {
    while (!units_.empty()) {
        const Unit unit = std::move(units_.front());
        units_.pop_front();
        try {
            Run(unit);
        } catch (...) {
            for (const Unit& left : std::exchange(units_, {})) left.answers->NotSent();
            throw;
        }
    }
}

void LateConnection::Commit() {
    AwaitAnswers();
    Wrapped().Commit();
}

void LateConnection::RunAsUnit(const Work& work) {
    AwaitAnswers();
    Wrapped().RunAsUnit([&] {
        work();
        AwaitAnswers();
    });
}

void LateConnection::RunExclusively(const Work& work) {
    AwaitAnswers();
    Wrapped().RunExclusively([&] {
        work();
        AwaitAnswers();
    });
}

std::unique_ptr<Recordset> LateConnection::CreateRecordset() {
    return std::make_unique<LateRecordset>(Wrapped().CreateRecordset(), *this);
}

void LateConnection::Add(Unit unit) {
    units_.push_back(std::move(unit));
    if (units_.size() >= unitsPerTrip_) AwaitAnswers();
}

void LateConnection::Run(const Unit& unit) {
    if (unit.isUpsert)
        Wrapped().Upsert(
            unit.statement, [&] { return Statement(unit.insert); }, *unit.answers);
    else
        Wrapped().Send(unit.statement, *unit.answers);
}

}  // namespace iqrx::testing
