// Reads what table_status.h describes.
#include <algorithm>

#include "platform/conversions.h"
#include "platform/error.h"
#include "platform/printable.h"
#include "platform/text.h"
#include "qrxctl/books.h"
#include "qrxctl/lines.h"
#include "qrxctl/moments.h"
#include "qrxctl/reading.h"
#include "qrxctl/table_choice.h"
#include "qrxctl/table_status.h"
#include "tables/definitions.h"

namespace iqrx::qrxctl {

namespace {

// A table with more rows than that is not counted: who looks every few seconds must not read the whole database
// each time. What the last run has noted is shown instead or, where nothing is known, that there are more.
constexpr std::int64_t kCountedQuickly = 10'000;

constexpr runtime::Sql<1> kControlRow = "SELECT * FROM tstables WHERE tablename = {table name}";
constexpr runtime::Sql<0> kNoRows = "SELECT * FROM {table} WHERE 1=0";
constexpr runtime::Sql<0> kEachRow = "SELECT upd_flag FROM {table}";

// Of a table; PostgreSQL has a state of its own for it.
bool SaysMissing(std::string_view sqlState) { return sqlState == "42S02" || sqlState == "42P01"; }

void TakeRun(TableStatus& status, const journal::RunEntry& entry) {
    ++status.runs[entry.outcome];
    if (entry.outcome == "in use") return;
    status.lastRun = entry;
    if (entry.rows) status.rows = entry.rows;
    const bool isOk = entry.outcome == "ok";
    if (isOk) status.lastCopy = entry;
    if (entry.method != "full")
        status.mayBeBlanked = status.mayBeBlanked || entry.copied != std::int64_t{0};
    else if (isOk)
        status.mayBeBlanked = false;
}

class Reader {
public:
    Reader(hosting::Composition& parts, const Options& options, const StatusQuestion& question)
        : parts_(parts), options_(options), question_(question), books_(parts, options, journal::Use::Reading) {}

    Overview Read() {
        Overview overview{.database = DatabaseName(options_), .now = Moment(parts_)};
        std::vector<std::string> names = CatalogTables(parts_, options_);
        overview.catalog = names;
        if (!question_.tables.empty()) names = ChooseTables(names, question_.tables);
        ReadBooks(names, overview);
        ReadDatabase(parts_, options_, [&](runtime::DatabaseSession& session) {
            overview.tables.clear();
            for (const std::string& name : names) overview.tables.push_back(Look(session, name));
        });
        overview.booksProblem = books_.directory.Problem();
        return overview;
    }

private:
    void ReadBooks(const std::vector<std::string>& names, Overview& overview) {
        for (const std::string& name : names) known_[platform::Lower(name)].table = name;
        const auto take = [&](const journal::RunEntry& entry) {
            const auto found = known_.find(platform::Lower(entry.table));
            if (found != known_.end()) TakeRun(found->second, entry);
            return true;
        };
        try {
            overview.historyFile = platform::Utf8(books_.directory.HistoryFile());
            overview.damage = books_.history.ForEach(take);
        } catch (const platform::RuntimeError& error) {
            books_.directory.Note(platform::OneLine(error.description));
        }
        for (const auto& [table, read] : books_.ledger.All())
            if (const auto found = known_.find(platform::Lower(table)); found != known_.end())
                found->second.read = read;
    }

    TableStatus Look(runtime::DatabaseSession& session, const std::string& name) {
        TableStatus status = known_.at(platform::Lower(name));
        try {
            LookForLock(session, status);
            Count(session, status);
        } catch (const platform::RuntimeError& error) {
            const platform::Errors* errors = session.LastErrors();
            status.isMissing = errors && !errors->empty() && SaysMissing(errors->front().sqlState);
            status.problem = status.isMissing ? "no such table" : platform::OneLine(error.description);
        }
        return status;
    }

    // Lock and sheet are two looks: a copy may begin or end between them, and then neither tells of a lock
    // that was left.
    void LookForLock(runtime::DatabaseSession& session, TableStatus& status) {
        constexpr int kMostLooks = 3;
        for (int look = 0; look < kMostLooks; ++look) {
            const bool locked = ReadControlRow(session, status);
            const journal::SheetState sheet = books_.sheets.StateOf(status.table);
            status.holder = sheet.sheet;
            status.sign = sheet.sign;
            status.lock = sheet.holder == journal::Holder::Living ? Lock::Copying
                          : !locked                               ? Lock::Free
                          : sheet.holder == journal::Holder::Dead ? Lock::Left
                                                                  : Lock::Unknown;
            if (status.lock == Lock::Free || status.lock == Lock::Copying) return;
        }
    }

    static bool ReadControlRow(runtime::DatabaseSession& session, TableStatus& status) {
        auto control = session.OpenRecordset(kControlRow(session.Literals().QuoteSqlString(status.table)));
        if (control->Eof()) return false;
        const platform::Value lastUpdate = control->Field("lutm"), inUse = control->Field("in_use");
        if (lastUpdate.Is<platform::Date>()) status.lastUpdate = lastUpdate.As<platform::Date>();
        return !inUse.Is<platform::Null>() && platform::ToLong(inUse) == 1;
    }

    void CountRows(runtime::DatabaseSession& session, TableStatus& status) const {
        if (!question_.countAll && status.rows.value_or(0) > kCountedQuickly) {
            session.OpenRecordset(kNoRows.On(status.table));  // that it is there has to be seen all the same
            return;
        }
        status.isCounted = true;
        if (question_.countAll || status.rows || !IsEmbedded(options_)) {
            status.rows = NumberFrom(session, kRowCount.On(status.table));
            return;
        }
        auto rows = session.OpenRecordset(kEachRow.On(status.table));
        status.rows = 0;
        for (; !rows->Eof() && *status.rows < kCountedQuickly; rows->MoveNext()) ++*status.rows;
        status.isMore = !rows->Eof();
        status.isCounted = !status.isMore;
    }

    void Count(runtime::DatabaseSession& session, TableStatus& status) const {
        CountRows(session, status);
        const auto columns = tables::BlankedColumns(platform::Lower(status.table));
        if (columns.empty() || !status.mayBeBlanked) return;
        std::string text = "SELECT count(*) FROM " + status.table;
        const char* before = " WHERE ";
        for (const std::string_view column : columns) {
            const std::string name(column);
            text.append(before).append("(" + name + " IS NULL OR " + name + " = '' OR " + name + " = ' ')");
            before = " AND ";
        }
        status.blanked = NumberFrom(session, text);
    }

    hosting::Composition& parts_;
    const Options& options_;
    const StatusQuestion& question_;
    Books books_;
    std::map<std::string, TableStatus> known_;
};

}  // namespace

Overview ReadOverview(hosting::Composition& parts, const Options& options, const StatusQuestion& question) {
    return Reader(parts, options, question).Read();
}

}  // namespace iqrx::qrxctl
