#include "platform/watch/removed_rows.h"

#include <set>
#include <type_traits>
#include <utility>
#include <vector>

#include "platform/literal.h"
#include "platform/number.h"
#include "platform/text.h"
#include "platform/watch/provider_wrapper.h"
#include "platform/watch/statement_meaning.h"
#include "platform/watch/watched_database.h"

namespace iqrx::platform::watch {

namespace {

void AppendValue(std::string& sql, const Value& value, const DateLiteral& dateLiteral) {
    std::visit(
        [&](const auto& known) {
            using Type = std::decay_t<decltype(known)>;
            if constexpr (std::is_same_v<Type, Boolean>)
                sql += known ? '1' : '0';
            else if constexpr (std::is_arithmetic_v<Type>)
                sql += ShortestText(known);
            else if constexpr (std::is_same_v<Type, Date>)
                sql += dateLiteral(known);
            else if constexpr (std::is_same_v<Type, std::string>)
                Literal::Text(known).AppendTo(sql);
            else if constexpr (std::is_same_v<Type, ObjectRef>)
                RaiseRuntimeError(kTypeMismatch);
            else
                sql += "NULL";
        },
        static_cast<const Value::variant&>(value));
}

// The statements for the rows of a recordset.
class Inserts {
public:
    Inserts(const std::string& name, Recordset& rows) : opening_("INSERT INTO " + name + "(") {
        for (const std::string& field : rows.FieldNames()) {
            opening_ += (isFlag_.empty() ? "" : ",") + field;
            isFlag_.push_back(EqualIgnoringCase(field, "upd_flag"));
        }
        opening_ += ") VALUES(";
    }
    std::string Of(Recordset& rows, const DateLiteral& dateLiteral) const {
        std::string sql = opening_;
        for (std::size_t i = 0; i < isFlag_.size(); ++i) {
            if (i > 0) sql += ',';
            if (isFlag_[i])
                sql += '0';
            else
                AppendValue(sql, rows.Field(static_cast<int>(i)), dateLiteral);
        }
        return sql + ")";
    }

private:
    std::string opening_;
    std::vector<bool> isFlag_;
};

class KeepingConnection final : public ConnectionWrapper {
public:
    KeepingConnection(std::unique_ptr<Connection> connection, RemovedRows& sink, const DateLiteral& dateLiteral)
        : ConnectionWrapper(std::move(connection)), sink_(sink), dateLiteral_(dateLiteral) {}

    std::int32_t Execute(const Statement& statement) override {
        if (OnlyWritesARow(statement)) return Wrapped().Execute(statement);
        const Meaning& meaning = meanings_.Of(statement);
        const Deed deed = meaning.OnCopiedRows();
        if (deed == Deed::Sweep && !empty_.contains(meaning.table)) Keep(meaning);
        const std::int32_t affected = Wrapped().Execute(statement);
        if (deed == Deed::Mark) Marked(meaning.table, affected);
        return affected;
    }
    void Send(const Statement& statement, Answers& answers) override {
        meanings_.LeaveCopiedRows(statement) ? Wrapped().Send(statement, answers)
                                             : Connection::Send(statement, answers);
    }
    void Upsert(const Statement& update, const MakeStatement& insert, Answers& answers) override {
        Wrapped().Upsert(update, insert, answers);
    }

private:
    void Marked(const std::string& table, std::int32_t rows) {
        if (rows == 0)
            empty_.insert(table);
        else
            empty_.erase(table);
    }

    void Keep(const Meaning& sweep) {
        const auto rows = Wrapped().CreateRecordset();
        rows->Open("SELECT * FROM " + sweep.name + " WHERE upd_flag = 1", CursorType::ForwardOnly,
                   LockType::ReadOnly);
        if (!rows->Eof()) {
            sink_.Begin(sweep.table);
            const Inserts inserts(sweep.name, *rows);
            for (; !rows->Eof(); rows->MoveNext()) sink_.Row(inserts.Of(*rows, dateLiteral_));
            sink_.End();
        }
        rows->Close();
    }

    RemovedRows& sink_;
    const DateLiteral dateLiteral_;
    Meanings meanings_;
    std::set<std::string, std::less<>> empty_;  // there was nothing to mark
};

}  // namespace

std::unique_ptr<DatabaseProvider> KeepRemovedRows(DatabaseProvider& provider, RemovedRows& sink,
                                                  DateLiteral dateLiteral) {
    return WrapEach(provider, [&sink, write = std::move(dateLiteral)](std::unique_ptr<Connection> connection) {
        return std::make_unique<KeepingConnection>(std::move(connection), sink, write);
    });
}

}  // namespace iqrx::platform::watch
