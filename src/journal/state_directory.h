// The directory in which programs keep what they know of their runs:
//   VERSION  DATABASE  running/TABLE (run sheets)  history.jsonl  ledger.json  undo/
// Every program that copies into one database uses the same one, and none that copies into another: what was
// read of a trail, and whose lock is dead, is true of one database.
#pragma once

#include <filesystem>
#include <functional>
#include <mutex>
#include <string>

#include "journal/database_id.h"
#include "platform/host.h"
#include "platform/machine.h"

namespace iqrx::journal {

// "FILE.state" beside an embedded database's file, ".qrx" in the log directory otherwise. A blank log
// directory is the current one.
std::filesystem::path StateDirectoryOf(const std::string& connectionString, const std::string& logDirectory);

enum class Use {
    Reading,  // nothing is written there, and nothing is made
    Writing   // what is missing is made
};

// Raises nothing, for no copy may suffer from it: what cannot be written is left out, and Problem() says why.
// Safe to use in several threads at once.
class StateDirectory {
public:
    // The first database that is known is the one that the directory belongs to.
    StateDirectory(platform::Host& host, platform::TextFiles& files, std::filesystem::path directory, Use use,
                   DatabaseId database = {});

    // The first thing that went wrong, as one line that names place and cause; empty while nothing has. It
    // may come with any write, as when the disk fills up: look again after each table.
    std::string Problem() const;
    // Neither a file, nor unreadable, nor of a newer version or another database. One that does not exist is usable and empty.
    bool IsUsable() const { return usable_; }
    bool IsWritable() const { return writable_; }

    const std::filesystem::path& Directory() const { return directory_; }
    std::filesystem::path Sheets() const { return directory_ / "running"; }
    std::filesystem::path HistoryFile() const { return directory_ / "history.jsonl"; }
    std::filesystem::path LedgerFile() const { return directory_ / "ledger.json"; }
    std::filesystem::path Undo() const { return directory_ / "undo"; }

    platform::Host& Host() const { return host_; }
    platform::TextFiles& Files() const { return files_; }

    // For the parts of the journal: makes the change while no other thread or process makes one in this
    // directory. Write: false when it was left out or raised an error, which is then the problem.
    bool Write(const std::function<void()>& change);
    void WriteOrRaise(const std::function<void()>& change);
    void Note(const std::string& problem);

private:
    void Open(Use use);
    void RequireOwn() const;
    void Make();

    platform::Host& host_;
    platform::TextFiles& files_;
    const std::filesystem::path directory_;
    const DatabaseId database_;
    bool usable_ = false, writable_ = false;
    mutable std::mutex mutex_;
    std::string problem_;
};

}  // namespace iqrx::journal
