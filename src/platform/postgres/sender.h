// The part of the connection that the writes take: what they stand in, how they travel together, and what
// becomes of those that are under way when one of them fails.
#pragma once

#include <exception>
#include <functional>
#include <memory>
#include <vector>

#include "platform/database_failure.h"
#include "platform/postgres/trip.h"

namespace iqrx::platform::postgres {

inline constexpr const char* kBegin = "BEGIN ISOLATION LEVEL READ COMMITTED";
inline constexpr const char* kCommit = "COMMIT";
// Of the transaction that it stands in: its commit returns when it, and everything before it, is on the disk.
inline constexpr const char* kWaitForDisk = "SELECT set_config('synchronous_commit','on',true)";

class Sender : public Connection {
public:
    Errors& LastErrors() override { return errors_; }
    void RunAsUnit(const Work& work) override;
    void RunExclusively(const Work& work) override;

    // Does one call's work; what fails is entered in the Errors. The members below belong inside of it.
    template <class Action>
    auto Call(Action work) {
        try {
            return work();
        } catch (...) {
            errors_ = {EntryOf(std::current_exception())};
            throw;
        }
    }

    void SendRows();     // those that were added
    void SendPending();  // and whatever else nobody has waited for

protected:
    // What the statements stand in. A unit begins with its first write, and on the server when that is sent;
    // one that has fallen takes no more.
    enum class Frame { None, UnitAhead, UnitLoaded, Unit, Fallen, Exclusive };
    struct UnderWay {};  // thrown by who can't go on before all answers are there

    Session& Opened();
    void Take(Load load);                            // whatever happens from here on, its hearer is told
    void QueueTrip();                                // what was taken
    Answer Ask(const std::function<void()>& queue);  // the last answer to what is queued
    void RaiseOwed();
    void RequireStanding() const;
    bool HasRows() const;
    void BeginWrite(bool touchesControlTable);
    void EndWrite(bool touchesControlTable);
    void EndTransaction() noexcept;

    Errors errors_;
    std::unique_ptr<Session> session_;
    Trip trip_;    // the next one
    Trips trips_;  // under way
    Parameters parameters_;
    Frame frame_ = Frame::None;
    std::size_t rowsPerTrip_ = 1;
    std::exception_ptr owed_;    // an earlier failure, to the next call
    bool isOfEarlier_ = false;   // what was raised last: a failure of what was under way
    bool waitsForDisk_ = false;  // the open transaction, when it is committed
    bool isAhead_ = false;       // of the disk: something was committed that need not be there yet

private:
    struct Command {
        const char* text = nullptr;
        std::shared_ptr<const Prepared> told = {};
        Load load = {};  // where it is none of the two
    };
    void AddTransaction(std::vector<Command>& commands, std::vector<Load> loads);
    void AddLoads(std::vector<Command>& commands, std::vector<Load> loads);
    void AddCommand(std::vector<Command>& commands, Entry entry, const char* text);
    void Queue(Command& command);
    void SendTrip();
    Answer Only(std::vector<Answer>& own);
    void Tell();
    void Fall();
    void OrGiveUp(const std::function<void()>& action);
    void DoAgain();
    void DoAgain(Entry& entry);
    void DoAgain(Awaited& write);
    void RaiseFirstFailure(Entries& entries);
    void TellFailed(Entry& entry, DatabaseFailure& failure);
    void EndUnit(bool isWaitedFor);
    void BeginSection();
    bool IsInTransaction() const { return frame_ == Frame::Unit || frame_ == Frame::Exclusive; }
    void CommitTransaction();
    void RollBack() noexcept;
};

}  // namespace iqrx::platform::postgres
