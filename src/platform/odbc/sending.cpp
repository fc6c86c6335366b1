// Statements whose sender does not wait for their counts.
#include "platform/dialect/change.h"
#include "platform/odbc/connection.h"
#include "platform/odbc/table.h"

namespace iqrx::platform::odbc {

namespace {

std::string TableOfChange(std::string_view sql) { return LastPart(dialect::ChangeOf(sql).table); }

}  // namespace

void OdbcConnection::Send(const Statement& statement, Answers& answers) {
    upserts_.SendBefore(answers);
    Connection::Send(statement, answers);
}

void OdbcConnection::Upsert(const Statement& update, const MakeStatement& insert, Answers& answers) {
    if (Collect(update, insert, answers)) return;
    upserts_.SendBefore(answers);
    Connection::Upsert(update, insert, answers);
}

// False: its caller waits. In a unit other statements make it wait anyway, a control table's is to be kept at
// once, and an insert that can't be made matters only when the update has found no row.
bool OdbcConnection::Collect(const Statement& update, const MakeStatement& insert, Answers& answers) {
    if (!IsOpen() || !driver.transactSql || !upserts_.AreCollected() || frame_ != Frame::None) return false;
    UpsertUnit unit{std::string(update.Text()), {}, &answers};
    const std::string table = TableOfChange(unit.update);
    if (table.empty() || controlTables_.contains(table)) return false;
    try {
        unit.insert = insert().Text();
    } catch (...) {
        return false;
    }
    if (TableOfChange(unit.insert) != table) return false;
    if (upserts_.IsEmpty()) {  // rows of a recordset that wait go first
        try {
            const auto turn = Turn();
            InTurn([&] { recordsets.SendPending(); });
        } catch (...) {
            answers.Failed(CurrentError());
            throw;
        }
    }
    upserts_.Add(std::move(unit));
    return true;
}

}  // namespace iqrx::platform::odbc
