// A private PostgreSQL server with its data in a temporary directory, gone with its owner.
// Started by the superuser it runs as the system's user "postgres", since the server refuses to be root.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace iqrx::testing {

// Whether the tests that have either database run on a server: IQRX_SITE_DATABASE=postgresql says so.
bool OnPostgres();

class PostgresServer;

struct PostgresOptions {
    enum class Listens { Tcp, TcpWithTls, Socket } listens = Listens::Tcp;  // TCP on 127.0.0.1
    std::string password = {};                // of the user, by SCRAM; empty: nobody is asked for one
    std::vector<std::string> settings = {};   // NAME=VALUE
    const PostgresServer* primary = nullptr;  // whose replica this is; it asks for no password
};

class PostgresServer {
public:
    // Made and started; throws std::runtime_error that names the cause.
    explicit PostgresServer(PostgresOptions options = {});
    ~PostgresServer();
    PostgresServer(const PostgresServer&) = delete;
    PostgresServer& operator=(const PostgresServer&) = delete;

    void Start();
    void Stop();      // at once, as if it had crashed
    void ShutDown();  // connections are told
    void Crash();     // no process of it gets to write down anything
    // Of a server that was shut down: what others start from, if IQRX_POSTGRES_DATA names the directory.
    void KeepData(const std::filesystem::path& directory) const;
    // Of a running server: no process that it starts from now on makes a file longer than that.
    void LimitFiles(std::optional<std::uintmax_t> bytes) const;
    bool Running() const { return process_ > 0; }
    int Port() const { return port_; }  // database and user are called "postgres"
    std::string Host() const;
    // The server's own certificate, which it signed itself for 127.0.0.1.
    std::filesystem::path Certificate() const { return directory_ / "server.crt"; }

private:
    bool HasStarted();
    std::vector<std::string> Command() const;
    std::string Program(const std::string& name) const { return (programs_ / name).string(); }
    pid_t Launch(const std::vector<std::string>& command) const;
    int RunToEnd(const std::vector<std::string>& command) const;
    std::string Output() const;
    void MakeData() const;
    void CopyKeptData(const std::filesystem::path& directory) const;
    void CopyPrimary() const;
    void MakeCertificate() const;
    void StopBy(int signal);

    const PostgresOptions options_;
    std::filesystem::path programs_, directory_;
    int port_ = 0;
    pid_t process_ = 0;
};

}  // namespace iqrx::testing
