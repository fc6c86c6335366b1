// One connection to the server, which sends and receives. Commands are queued and go out together: a trip,
// whose answers come in the order of its commands.
#pragma once

#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/postgres/arrays.h"
#include "platform/postgres/handles.h"
#include "platform/postgres/prepared.h"
#include "platform/postgres/settings.h"

namespace iqrx::platform::postgres {

class Session {
public:
    explicit Session(const Settings& settings);  // raises
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    // Where a trip fails, all of these raise, once the connection is lost for good.
    // A trip of its own. The first places have these types, others what the server finds. At most one
    // question may be queued, whose answer is wanted then.
    using Kept = std::shared_ptr<const Prepared>;
    struct Source {
        std::string sql;
        std::vector<Oid> types = {};
    };
    Kept Prepare(const std::string& sql, const std::vector<Oid>& types = {});
    std::vector<Kept> Prepare(const std::vector<Source>& sources, Answer* answer = nullptr);  // in one

    Kept Promise(const std::string& sql, const std::vector<Oid>& types);  // to be told with its first use
    void Tell(const Prepared& statement);

    void Queue(const Prepared& statement, const Parameters& parameters);
    void Queue(const Prepared& statement, Arrays& rows);
    void Queue(const char* command, std::initializer_list<const char*> texts = {});
    std::size_t Queued() const { return queued_; }
    // What is queued is a trip of its own. Where it fails, the next answer is its failure, unless it is a
    // help that nobody misses.
    void SendWithoutWait(bool isHelp = false);

    // Sends what is queued and waits for the answers, one for each command. The commands of a trip stand or
    // fall together, unless a transaction is open. Raises the first failure; the commands after it were not
    // done.
    std::vector<Answer> Finish();
    void Discard() noexcept;  // the same, whatever comes of it

    // The same in parts: sends, then each answer, whether or not it is a failure, then the end of the trip.
    // What was sent in commands before Send goes on its way with Flush, and is not over with it: what follows
    // a failure is not done up to the next end of a trip.
    void Send();
    Answer Next();
    bool HasAnswer();  // without a wait
    Answer End();      // a failure of the commit, if there is one
    void Flush();
    [[noreturn]] void Fail(const PGresult* answer);

    // The answer of a single command.
    Answer Ask(const char* command, std::initializer_list<const char*> texts = {});

    // Any number of statements, as they stand.
    void RunScript(const std::string& script);

    // The schema that it began in, once an answer has told it; nothing when it may be in another.
    const std::optional<std::string>& FirstSchema() const { return firstSchema_; }
    // Its settings are not those any more with which it began.
    void NoteChange();
    bool IsAsBegun() const;  // nothing is under way either
    bool IsQuiet() const;    // the server has nothing to say: it has not ended the session

    std::size_t Waits() const { return waits_; }  // for the server's answers, up to now
    void NoteWait() { ++waits_; }
    bool InTransaction() const { return PQtransactionStatus(link_.get()) != PQTRANS_IDLE; }

private:
    void RequireLink() const;
    void Count(int sent);
    Answer Receive();
    void ReceiveLeft();
    void LeavePipeline();
    void EnterPipeline();

    Link link_;
    std::string lost_;      // why, once it is
    std::string farewell_;  // what the server said when it ended the session between two commands
    std::size_t queued_ = 0, left_ = 0, waits_ = 0;
    Answer leftFailure_;
    std::optional<std::string> firstSchema_;
    bool isChanged_ = false, isHelpLeft_ = false;
    std::uint64_t names_ = 0;
    std::shared_ptr<Unused> unused_ = std::make_shared<Unused>();
};

}  // namespace iqrx::platform::postgres
