// A PostgreSQL server of its own with an initialised database, and the programs that copy into it, each run
// as a process by itself, as a site runs them.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "subjects.h"
#include "support/postgres_server.h"

namespace iqrx::bench {

class PostgresSite {
public:
    PostgresSite();
    ~PostgresSite();
    PostgresSite(const PostgresSite&) = delete;
    PostgresSite& operator=(const PostgresSite&) = delete;

    std::filesystem::path Extract() const { return directory_ / "extract"; }
    int Port() const { return server_.Port(); }

    void WriteRecords(const Subject& subject, std::int64_t count) const;
    // Of rows that differ; one in ten is new, the others are among those that are there.
    void WriteChanges(const Subject& subject, std::int64_t there, std::int64_t count) const;

    void Empty(const Subject& subject) const;
    void Keep(const Subject& subject) const;  // the rows that the table has now
    void Restore(const Subject& subject) const;
    void EmptyAll() const;
    std::int64_t Count(const Subject& subject) const;

    // Seconds of the process; none when it failed, which was said. `port` is the server's, or one on the way
    // to it; `keys` go into the connection string.
    using Seconds = std::optional<double>;
    Seconds Service(const Subject& subject, bool full, int port, const std::string& keys = "") const;
    Seconds Loop(const Subject& subject, bool full, const char* mode = "plain") const;
    Seconds Script(const Subject& subject, bool full) const;
    Seconds SetBased(const Subject& subject, bool full, int port) const;
    Seconds AllTables(int atOnce) const;

private:
    std::string Connection(int port) const;
    std::string File(const Subject& subject, bool full) const;
    Seconds Peer(std::vector<std::string> command, const Subject& subject, bool full) const;
    void Sql(const std::string& sql) const;

    const std::filesystem::path directory_;
    testing::PostgresServer server_;
};

}  // namespace iqrx::bench
