// The part of the connection that the writes take: what they stand in, how they travel together, and what
// becomes of those that are under way when one of them fails.
#pragma once

#include <exception>
#include <functional>
#include <memory>
#include <vector>

#include "platform/database_failure.h"
#include "platform/postgres/trips.h"

namespace iqrx::platform::postgres {

inline constexpr const char* kBegin = "BEGIN ISOLATION LEVEL READ COMMITTED";
// Of the transaction that it stands in: its commit returns when it, and everything before it, is on the disk.
inline constexpr const char* kWaitForDisk = "SELECT set_config('synchronous_commit','on',true)";

class Sender : public Connection {
public:
    Errors& LastErrors() override { return errors_; }
    void RunAsUnit(const Work& work) override;

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
    // What the statements stand in. A unit begins with its first write; one that has fallen takes no more.
    enum class Frame { None, UnitAhead, Unit, Fallen, Exclusive };
    struct UnderWay {};  // thrown by who can't go on before all answers are there

    Session& Opened();
    void SendWrite(Entry entry, const Prepared& statement, platform::Answers& answers);
    Answer Ask(const std::function<void()>& queue);  // the last answer to what is queued
    void CloseTrip();
    void RaiseOwed();
    void RequireStanding() const;
    bool HasRows() const;
    void BeginWrite(bool touchesControlTable);
    void EndWrite(bool touchesControlTable);
    void CommitTransaction();
    void RollBack() noexcept;

    Errors errors_;
    std::unique_ptr<Session> session_;
    Trips trips_;
    Parameters parameters_;
    Frame frame_ = Frame::None;
    std::size_t rowsPerTrip_ = 1, added_ = 0;  // added: since something went on its way
    std::exception_ptr owed_;                  // an earlier failure, to the next call
    bool isOfEarlier_ = false;                 // what was raised last: a failure of what was under way
    bool waitsForDisk_ = false;                // the open transaction, when it is committed
    bool isAhead_ = false;  // of the disk: something was committed that need not be there yet

private:
    void SendTrip();
    void EndTrip();
    Answer Only(std::vector<Answer>& own);
    void Tell();
    void Fall();
    void OrGiveUp(const std::function<void()>& action);
    void DoAgain();
    void DoAgain(Entry& entry);
    void RaiseFirstFailure(Entries& entries);
    void EndUnit(bool isWaitedFor);
    void EndTransaction() noexcept;
};

}  // namespace iqrx::platform::postgres
