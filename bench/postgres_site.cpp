#include "postgres_site.h"

#include <fcntl.h>
#include <libpq-fe.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <memory>
#include <stdexcept>

namespace iqrx::bench {

namespace fs = std::filesystem;

namespace {

PostgresSite::Seconds TimeOf(std::vector<std::string> command) {
    std::vector<char*> arguments;
    for (std::string& argument : command) arguments.push_back(argument.data());
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t quiet;
    posix_spawn_file_actions_init(&quiet);
    posix_spawn_file_actions_addopen(&quiet, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t process = 0;
    int status = -1;
    const auto begin = std::chrono::steady_clock::now();
    const bool ran = posix_spawnp(&process, arguments[0], &quiet, nullptr, arguments.data(), environ) == 0 &&
                     waitpid(process, &status, 0) == process;
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - begin;
    posix_spawn_file_actions_destroy(&quiet);
    if (ran && status == 0) return seconds.count();
    std::fprintf(stderr, "failed: %s\n", arguments[0]);
    return std::nullopt;
}

std::string Uri(int port) {
    return "host=127.0.0.1 user=postgres dbname=postgres port=" + std::to_string(port);
}

std::string Listed(const std::vector<std::string>& columns, std::size_t from, const std::string& before = "",
                   const std::string& between = "") {
    std::string list;
    for (std::size_t i = from; i < columns.size(); ++i)
        list += (i > from ? ", " : "") + (before.empty() ? "" : columns[i] + between + before) + columns[i];
    return list;
}

void Write(std::ofstream& stream, const std::string& begin, const Row& cells) {
    stream << begin;
    for (std::size_t i = 0; i < cells.size(); ++i) stream << (i > 0 ? "," : "") << cells[i];
    stream << '\n';
}

}  // namespace

// No checkpoint and no vacuum of the server's own comes into a measurement.
PostgresSite::PostgresSite()
    : directory_(fs::temp_directory_path() / ("iqrx-bench-" + std::to_string(getpid()))),
      server_({.settings = {"fsync=on", "max_wal_size=16GB", "checkpoint_timeout=1h", "autovacuum=off",
                            "shared_buffers=512MB"}}) {
    fs::create_directories(Extract());
    if (!TimeOf({IQRX_QRXCTL, "--connection", Connection(Port()), "init"}))
        throw std::runtime_error("the database can't be initialised");
}

PostgresSite::~PostgresSite() {
    std::error_code ignored;
    fs::remove_all(directory_, ignored);
}

std::string PostgresSite::Connection(int port) const {
    return "Provider=PostgreSQL;Host=127.0.0.1;Database=postgres;User=postgres;Port=" + std::to_string(port);
}

std::string PostgresSite::File(const Subject& subject, bool full) const {
    return (Extract() / (subject.table + (full ? ".csv" : ".audit.csv"))).string();
}

void PostgresSite::WriteRecords(const Subject& subject, std::int64_t count) const {
    std::ofstream stream(File(subject, true), std::ios::binary);
    Write(stream, "", subject.fields);
    for (int i = 0; i < count; ++i) Write(stream, "", subject.row(i));
}

void PostgresSite::WriteChanges(const Subject& subject, std::int64_t there, std::int64_t count) const {
    std::ofstream stream(File(subject, false), std::ios::binary);
    Write(stream, "changed_at,change,", subject.fields);
    for (std::int64_t i = 0; i < count; ++i) {
        const bool isNew = i % 10 == 0;
        const auto key = static_cast<int>(isNew ? there + i : i * 7 % there);
        Write(stream, isNew ? "2026-06-20 08:00:00,I," : "2026-06-20 08:00:00,U,", subject.row(key));
    }
}

void PostgresSite::Sql(const std::string& sql) const {
    const std::unique_ptr<PGconn, decltype(&PQfinish)> link(PQconnectdb(Uri(Port()).c_str()), PQfinish);
    const std::unique_ptr<PGresult, decltype(&PQclear)> answer(PQexec(link.get(), sql.c_str()), PQclear);
    const ExecStatusType status = PQresultStatus(answer.get());
    if (status != PGRES_COMMAND_OK && status != PGRES_TUPLES_OK)
        throw std::runtime_error(sql + ": " + PQerrorMessage(link.get()));
}

std::int64_t PostgresSite::Count(const Subject& subject) const {
    const std::unique_ptr<PGconn, decltype(&PQfinish)> link(PQconnectdb(Uri(Port()).c_str()), PQfinish);
    const std::unique_ptr<PGresult, decltype(&PQclear)> answer(
        PQexec(link.get(), ("SELECT count(*) FROM " + subject.table).c_str()), PQclear);
    return std::stoll(PQgetvalue(answer.get(), 0, 0));
}

void PostgresSite::Empty(const Subject& subject) const {
    Sql("TRUNCATE " + subject.table + ", tssoc200_audit");
    Sql("CHECKPOINT");
}

void PostgresSite::Keep(const Subject& subject) const {
    Sql("SET client_min_messages = error; DROP TABLE IF EXISTS kept; CREATE TABLE kept AS SELECT * FROM " +
        subject.table);
}

void PostgresSite::Restore(const Subject& subject) const {
    Sql("TRUNCATE " + subject.table + ", tssoc200_audit");
    Sql("INSERT INTO " + subject.table + " SELECT * FROM kept");
    Sql("VACUUM ANALYZE " + subject.table);
    Sql("CHECKPOINT");
}

void PostgresSite::EmptyAll() const {
    Sql("DO $$ DECLARE t text; BEGIN FOR t IN SELECT tablename FROM pg_tables WHERE schemaname = 'public'"
        " AND tablename ~ '^(tc|ts(mdm|cfg|clm|soc|spc))' LOOP EXECUTE 'TRUNCATE ' || t; END LOOP; END $$");
    Sql("UPDATE tstables SET lutm = NULL");
    Sql("CHECKPOINT");
    fs::remove_all(directory_ / ".qrx");
}

PostgresSite::Seconds PostgresSite::Service(const Subject& subject, bool full, int port,
                                            const std::string& keys) const {
    Sql("UPDATE tstables SET lutm = '2026-06-01 00:00:00'");
    return TimeOf({IQRX_SERVICE, Connection(port) + keys + "{}{}" + std::to_string(subject.id) + "{}" +
                                     (full ? "1" : "2") + "{}" + directory_.string() +
                                     "{}extract=" + Extract().string() + "{}0{}{}1{}0{}SYNC{}"});
}

PostgresSite::Seconds PostgresSite::Peer(std::vector<std::string> command, const Subject& subject,
                                         bool full) const {
    command.insert(command.end(), {Uri(Port()), File(subject, full), full ? "0" : "2", subject.table});
    command.insert(command.end(), subject.columns.begin(), subject.columns.end());
    return TimeOf(command);
}

PostgresSite::Seconds PostgresSite::Loop(const Subject& subject, bool full, const char* mode) const {
    return Peer({IQRX_POSTGRES_LOOP, mode}, subject, full);
}

// Debian's own interpreter has Debian's packages.
PostgresSite::Seconds PostgresSite::Script(const Subject& subject, bool full) const {
    return Peer({"/usr/bin/python3", IQRX_POSTGRES_SCRIPT}, subject, full);
}

PostgresSite::Seconds PostgresSite::SetBased(const Subject& subject, bool full, int port) const {
    const std::string columns = Listed(subject.columns, 0);
    return TimeOf({"psql", "-q", "-v", "ON_ERROR_STOP=1", "-d", Uri(port), "-c",
                   "CREATE TEMP TABLE incoming AS SELECT " +
                       std::string(full ? "" : "''::text AS changed_at, ''::text AS change, ") + columns +
                       " FROM " + subject.table + " WITH NO DATA",
                   "-c", "\\copy incoming FROM '" + File(subject, full) + "' WITH (FORMAT csv, HEADER)", "-c",
                   "INSERT INTO " + subject.table + " (" + columns + ", upd_flag) SELECT " + columns +
                       ", 0 FROM incoming ON CONFLICT (" + subject.columns[0] + ") DO UPDATE SET " +
                       Listed(subject.columns, 1, "excluded.", " = ") + ", upd_flag = 0"});
}

PostgresSite::Seconds PostgresSite::AllTables(int atOnce) const {
    return TimeOf({IQRX_QRXCTL, "--connection", Connection(Port()), "--erp", "extract=" + Extract().string(),
                   "--log-dir", directory_.string(), "copy", "--all", "--full", "-q", "-j",
                   std::to_string(atOnce)});
}

}  // namespace iqrx::bench
