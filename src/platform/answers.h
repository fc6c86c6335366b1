// The counts of statements whose sender does not wait for them, and how wrappers hear them first.
#pragma once

#include <cstdint>
#include <deque>
#include <utility>

#include "platform/error.h"

namespace iqrx::platform {

// Hears how many rows statements affected, in the order of the statements. Of those that were handed over
// together each is answered, or failed, or was not sent since one before it failed. What a member raises
// leaves the call in which it was told, and no answer after it is told.
class Answers {
public:
    virtual ~Answers() = default;
    virtual void Executed(std::int32_t) {}
    virtual void Updated(std::int32_t) {}  // 0: the answer of the insert follows
    virtual void Inserted(std::int32_t) {}
    virtual void Failed(const RuntimeError&) {}
    virtual void NotSent() {}
};

// Of a wrapper: what it has to know of each statement under way, and whom to pass the answer on to.
template <class Note>
class AnswersInTurn : public Answers {
public:
    // Of the next statement handed over; `caller` must live until it is told.
    Answers& Await(Answers& caller, Note note) {
        underWay_.push_back({&caller, std::move(note)});
        return *this;
    }

    Note& Last() { return underWay_.back().note; }

    void Executed(std::int32_t affected) final {
        Turn turn = Take();
        HearExecuted(turn.note, affected);
        turn.caller->Executed(affected);
    }
    void Updated(std::int32_t affected) final {
        if (affected != 0) {
            Turn turn = Take();
            HearUpdated(turn.note, affected);
            return turn.caller->Updated(affected);
        }
        HearUpdated(underWay_.front().note, 0);
        underWay_.front().caller->Updated(0);
    }
    void Inserted(std::int32_t affected) final {
        Turn turn = Take();
        HearInserted(turn.note, affected);
        turn.caller->Inserted(affected);
    }
    void Failed(const RuntimeError& error) final {
        Turn turn = Take();
        HearFailed(turn.note, error);
        turn.caller->Failed(error);
    }
    void NotSent() final { Take().caller->NotSent(); }

protected:
    virtual void HearExecuted(Note&, std::int32_t) = 0;
    virtual void HearUpdated(Note&, std::int32_t) = 0;
    virtual void HearInserted(Note&, std::int32_t) = 0;
    virtual void HearFailed(Note&, const RuntimeError&) {}

private:
    struct Turn {
        Answers* caller;
        Note note;
    };
    Turn Take() {
        Turn turn = std::move(underWay_.front());
        underWay_.pop_front();
        return turn;
    }
    std::deque<Turn> underWay_;
};

}  // namespace iqrx::platform
