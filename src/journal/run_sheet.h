// Run sheets: who is copying a table now. A sheet is a file that its process holds for as long as it copies,
// so that the end of the process is proved, whatever ended it.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "journal/state_directory.h"

namespace iqrx::journal {

struct SheetText {
    std::string table = {}, run = {};
    std::string program = {};  // "qrxctl copy --all --full"
    std::string method = {};   // "full" or "incremental"
    std::string since = {};    // RFC 3339
    platform::ProcessIdentity by = {};
    bool waits = false;  // for the table's lock: while it does, its end proves nothing about whose the lock is
    bool operator==(const SheetText&) const = default;
};

// What a holder tells of his copy from time to time.
struct SignOfLife {
    std::int64_t rows = 0;          // copied until then
    std::int64_t milliseconds = 0;  // that this has taken
    std::string at = {};            // RFC 3339
    bool operator==(const SignOfLife&) const = default;
};

enum class Holder {
    Nobody,    // there is no sheet, or one whose process ended before it had the lock
    Living,    // a process holds it
    Dead,      // it was left by a process of this host that is gone
    Elsewhere  // it is free and names another host, or it cannot be looked at: nothing is proved
};

// Of a damaged sheet what can be read of it; `table` always.
struct SheetState {
    Holder holder = Holder::Nobody;
    SheetText sheet;
    std::optional<SignOfLife> sign = {};  // the last one; nothing while there was none
};

// Held for as long as the object lives; its end removes the sheet or, where the table's lock was not had and
// remains whose it was, leaves it as it was found. Safe to use in several threads at once.
class RunSheet {
public:
    // Not yet written.
    RunSheet(std::unique_ptr<platform::HeldFile> file, SheetText sheet, std::string before);
    ~RunSheet();
    RunSheet(const RunSheet&) = delete;
    RunSheet& operator=(const RunSheet&) = delete;

    void Write();  // raises RuntimeError
    // In place, since the file that is held must stay the one that has the name. Raises nothing: a sign that
    // cannot be written is left out.
    void Tell(const SignOfLife& sign) noexcept;

    // The lock of the one whose sheet it was is gone. Raises nothing.
    void LockIsFree() noexcept { Say(true); }
    // Nobody else has the table's lock, and the next statement takes it. Raises nothing.
    void LockIsTaken() noexcept { Say(false); }

private:
    void Say(bool waits) noexcept;

    const std::unique_ptr<platform::HeldFile> file_;
    std::mutex mutex_;
    SheetText sheet_;
    std::string text_;    // of it, without a sign
    std::string before_;  // what the sheet says of the table's lock if this never has it; empty: nothing
};

struct TakenSheet {
    std::unique_ptr<RunSheet> sheet;  // null: somebody living holds it, or no sheet can be kept
    SheetState found;                 // who had it before; Living: who has it
    bool InUse() const { return found.holder == Holder::Living; }
};

class RunSheets {
public:
    explicit RunSheets(StateDirectory& directory) : directory_(directory) {}

    // Neither disturbs a run, nor raises anything.
    SheetState StateOf(const std::string& table) const;

    // Takes the sheet of text.table, the one of a dead process or of another host, too. Where the directory
    // cannot be written there is no sheet and nobody InUse: the copy goes on without. Raises nothing.
    TakenSheet Take(const SheetText& text);

private:
    StateDirectory& directory_;
};

}  // namespace iqrx::journal
