// A private PostgreSQL server on loopback with its data in a temporary directory, gone with its owner.
// Started by the superuser it runs as the system's user "postgres", since the server refuses to be root.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <vector>

namespace iqrx::testing {

class PostgresServer {
public:
    PostgresServer();  // made and started; throws std::runtime_error that names the cause
    ~PostgresServer();
    PostgresServer(const PostgresServer&) = delete;
    PostgresServer& operator=(const PostgresServer&) = delete;

    void Start();
    void Stop();  // at once, as if it had crashed
    bool Running() const { return process_ > 0; }
    int Port() const { return port_; }  // of 127.0.0.1; database and user are called "postgres", no password

private:
    std::string Program(const std::string& name) const { return (programs_ / name).string(); }
    pid_t Launch(const std::vector<std::string>& command) const;
    int RunToEnd(const std::vector<std::string>& command) const;
    std::string Output() const;

    std::filesystem::path programs_, directory_;
    int port_ = 0;
    pid_t process_ = 0;
};

}  // namespace iqrx::testing
