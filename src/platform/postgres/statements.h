// The part of the connection that knows statements: what they are here, which of them the server keeps, and
// how those travel that nobody waits for.
#pragma once

#include <functional>
#include <initializer_list>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/dialect/programs.h"
#include "platform/postgres/sender.h"

namespace iqrx::platform::postgres {

struct Program : dialect::Program {
    std::vector<std::shared_ptr<const Prepared>> statements;  // of the translation, in its order; null: new
    std::string select;      // the whole of one, whose statement asks for its first rows
    int sentAsItStands = 0;  // how often, before the server was told to keep it
};

class Statements : public Sender {
public:
    void Send(const platform::Statement& statement, platform::Answers& answers) override;
    void Upsert(const platform::Statement& update, const MakeStatement& insert,
                platform::Answers& answers) override;
    void AwaitAnswers() override;

    using Kept = std::shared_ptr<const Prepared>;
    Kept Prepare(const std::string& sql);
    const std::vector<std::string>& KeyOf(const std::string& table);  // the columns of its primary key

protected:
    dialect::Found Find(const platform::Statement& statement);
    void Bind(const dialect::Found& found, std::size_t set, const dialect::Step& step);
    bool CanSend() const;
    std::shared_ptr<PreparedUpsert> PrepareUpsert(const Kept& first, const Kept& second,
                                                  const dialect::Translation& update,
                                                  const dialect::Translation& insert);
    void ForgetTables();

    std::optional<dialect::Programs> programs_;
    Upserts upserts_;

private:
    static bool IsReady(const dialect::Found& found);
    static bool IsKnown(const Program& program);
    void MakeReady(const dialect::Found& found);
    // Those that are not; with them asks for the key of a table, if it is named.
    void PrepareAll(std::initializer_list<Program*> programs, const std::string& table = "");
    bool Ready(platform::Answers& answers, const std::function<bool()>& bind);
    Load LoadOf(Awaited write, Kept statement, bool touchesControlTable);
    std::shared_ptr<Program> Sendable(const platform::Statement& statement);
    void BindTo(const Program& program, const platform::Statement& statement);
    std::shared_ptr<Program> Bound(const platform::Statement& statement);
    std::shared_ptr<PreparedUpsert> BoundUpsert(const platform::Statement& update,
                                                const platform::Statement& insert);
    static std::shared_ptr<PreparedUpsert> AsItStands(const dialect::Translation& update,
                                                      const dialect::Translation& insert);
    bool HoldsKeyOf(const std::string& table, const std::vector<Column>& columns);
    bool PrepareBoth(PreparedUpsert& upsert, const Session::Source& one, const std::string& many);

    std::map<std::string, std::vector<std::string>> keys_;               // by table
    std::map<std::string, std::shared_ptr<const Prepared>> recordsets_;  // their statements, by text
};

}  // namespace iqrx::platform::postgres
