#include "support/postgres_server.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <grp.h>
#include <netinet/in.h>
#include <pwd.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <thread>

namespace iqrx::testing {

namespace fs = std::filesystem;

namespace {

// The newest release that Debian's packages put there.
fs::path FindPrograms() {
    const fs::path root = "/usr/lib/postgresql";
    std::vector<fs::path> found;
    std::error_code none;
    for (const auto& release : fs::directory_iterator(root, none))
        if (fs::exists(release.path() / "bin" / "initdb")) found.push_back(release.path() / "bin");
    if (found.empty()) throw std::runtime_error("no PostgreSQL server below " + root.string());
    return *std::ranges::max_element(found);
}

// Who the server runs as: nobody else, unless that is the superuser.
const passwd* ServerUser() {
    if (geteuid() != 0) return nullptr;
    const passwd* user = getpwnam("postgres");
    if (!user)
        throw std::runtime_error("the superuser can't run a server, and there is no user \"postgres\"");
    return user;
}

int FreePort() {
    const int socket = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    const bool bound = bind(socket, reinterpret_cast<sockaddr*>(&address), length) == 0 &&
                       getsockname(socket, reinterpret_cast<sockaddr*>(&address), &length) == 0;
    close(socket);
    if (!bound) throw std::runtime_error("no port on 127.0.0.1 can be had");
    return ntohs(address.sin_port);
}

int WaitFor(pid_t process) {
    int status = 0;
    return waitpid(process, &status, 0) == process && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace

PostgresServer::PostgresServer() : programs_(FindPrograms()) {
    const passwd* user = ServerUser();
    std::string pattern = (fs::temp_directory_path() / "database_contract.XXXXXX").string();
    if (!mkdtemp(pattern.data())) throw std::runtime_error("no temporary directory can be made");
    directory_ = pattern;
    if (user && chown(pattern.c_str(), user->pw_uid, user->pw_gid) != 0)
        throw std::runtime_error("the temporary directory can't be given to the server's user");
    if (RunToEnd({Program("initdb"), "-D", (directory_ / "data").string(), "-U", "postgres", "-A", "trust",
                  "-E", "UTF8", "--locale=C", "--no-sync"}) != 0)
        throw std::runtime_error("initdb failed: " + Output());
    Start();
}

PostgresServer::~PostgresServer() {
    Stop();
    std::error_code ignored;
    fs::remove_all(directory_, ignored);
}

void PostgresServer::Start() {
    port_ = FreePort();
    const std::string port = std::to_string(port_);
    process_ = Launch({Program("postgres"), "-D", (directory_ / "data").string(), "-p", port, "-c",
                       "listen_addresses=127.0.0.1", "-c", "unix_socket_directories=", "-c", "fsync=off"});
    for (int attempt = 0; attempt < 300; ++attempt) {
        if (RunToEnd({Program("pg_isready"), "-q", "-h", "127.0.0.1", "-p", port}) == 0) return;
        if (waitpid(process_, nullptr, WNOHANG) == process_) {
            process_ = 0;
            break;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    Stop();
    throw std::runtime_error("the server does not start: " + Output());
}

void PostgresServer::Stop() {
    if (!Running()) return;
    kill(process_, SIGQUIT);
    WaitFor(process_);
    process_ = 0;
}

pid_t PostgresServer::Launch(const std::vector<std::string>& command) const {
    const passwd* user = ServerUser();
    const std::string output = (directory_ / "output").string();
    std::vector<char*> arguments;
    for (const std::string& argument : command) arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);
    const pid_t child = fork();
    if (child != 0) return child;
    if (user && (setgroups(0, nullptr) != 0 || setgid(user->pw_gid) != 0 || setuid(user->pw_uid) != 0))
        _exit(126);
    prctl(PR_SET_PDEATHSIG, SIGQUIT);  // no server stays behind a test program that crashed
    const int file = open(output.c_str(), O_CREAT | O_WRONLY | O_APPEND, 0666);
    dup2(file, STDOUT_FILENO);
    dup2(file, STDERR_FILENO);
    if (chdir("/") == 0) execv(arguments[0], arguments.data());
    _exit(127);
}

int PostgresServer::RunToEnd(const std::vector<std::string>& command) const {
    return WaitFor(Launch(command));
}

std::string PostgresServer::Output() const {
    std::ifstream file(directory_ / "output");
    return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace iqrx::testing
