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
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string_view>
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

bool OnPostgres() {
    const char* const database = std::getenv("IQRX_SITE_DATABASE");
    return database && std::string_view(database) == "postgresql";
}

PostgresServer::PostgresServer(PostgresOptions options)
    : options_(std::move(options)), programs_(FindPrograms()) {
    const passwd* user = ServerUser();
    std::string pattern = (fs::temp_directory_path() / "database_contract.XXXXXX").string();
    if (!mkdtemp(pattern.data())) throw std::runtime_error("no temporary directory can be made");
    directory_ = pattern;
    if (user && chown(pattern.c_str(), user->pw_uid, user->pw_gid) != 0)
        throw std::runtime_error("the temporary directory can't be given to the server's user");
    options_.primary ? CopyPrimary() : MakeData();
    if (options_.listens == PostgresOptions::Listens::TcpWithTls) MakeCertificate();
    Start();
}

void PostgresServer::MakeData() const {
    const char* const kept = std::getenv("IQRX_POSTGRES_DATA");
    if (kept && options_.password.empty()) return CopyKeptData(kept);
    std::vector<std::string> make{Program("initdb"),
                                  "-D",
                                  (directory_ / "data").string(),
                                  "-U",
                                  "postgres",
                                  "-E",
                                  "UTF8",
                                  "--locale=C",
                                  "--no-sync",
                                  "-A",
                                  options_.password.empty() ? "trust" : "scram-sha-256"};
    if (!options_.password.empty()) {
        const fs::path file = directory_ / "password";
        std::ofstream(file) << options_.password << '\n';
        make.push_back("--pwfile=" + file.string());
    }
    if (RunToEnd(make) != 0) throw std::runtime_error("initdb failed: " + Output());
}

void PostgresServer::KeepData(const fs::path& directory) const {
    fs::remove_all(directory);
    fs::copy(directory_ / "data", directory, fs::copy_options::recursive);
}

void PostgresServer::CopyKeptData(const fs::path& directory) const {
    const fs::path data = directory_ / "data";
    fs::copy(directory, data, fs::copy_options::recursive);
    const passwd* const user = ServerUser();
    if (!user) return;
    const auto give = [&](const fs::path& file) {
        if (chown(file.c_str(), user->pw_uid, user->pw_gid) != 0)
            throw std::runtime_error(file.string() + " can't be given to the server's user");
    };
    give(data);
    for (const auto& entry : fs::recursive_directory_iterator(data)) give(entry.path());
}

void PostgresServer::CopyPrimary() const {
    const PostgresServer& primary = *options_.primary;
    if (RunToEnd({Program("pg_basebackup"), "-D", (directory_ / "data").string(), "-h", primary.Host(), "-p",
                  std::to_string(primary.Port()), "-U", "postgres", "--write-recovery-conf",
                  "--checkpoint=fast", "--no-sync"}) != 0)
        throw std::runtime_error("pg_basebackup failed: " + Output());
}

PostgresServer::~PostgresServer() {
    Stop();
    std::error_code ignored;
    fs::remove_all(directory_, ignored);
}

// Without TLS nobody gets in.
void PostgresServer::MakeCertificate() const {
    const std::string key = (directory_ / "server.key").string();
    if (RunToEnd({"/usr/bin/openssl", "req", "-new", "-x509", "-days", "2", "-nodes", "-newkey", "rsa:2048",
                  "-subj", "/CN=127.0.0.1", "-addext", "subjectAltName=IP:127.0.0.1", "-keyout", key, "-out",
                  Certificate().string()}) != 0)
        throw std::runtime_error("openssl failed: " + Output());
    std::ofstream(directory_ / "data" / "pg_hba.conf", std::ios::trunc)
        << "hostssl all all 127.0.0.1/32 " << (options_.password.empty() ? "trust" : "scram-sha-256") << '\n';
}

std::string PostgresServer::Host() const {
    return options_.listens == PostgresOptions::Listens::Socket ? directory_.string() : "127.0.0.1";
}

// Another process may take a free port first.
void PostgresServer::Start() {
    const bool isChosen = port_ != 0;
    for (int attempt = 0; attempt < (isChosen ? 1 : 5); ++attempt) {
        if (!isChosen) port_ = FreePort();
        process_ = Launch(Command());
        if (HasStarted()) return;
    }
    throw std::runtime_error("the server does not start: " + Output());
}

std::vector<std::string> PostgresServer::Command() const {
    const bool onSocket = options_.listens == PostgresOptions::Listens::Socket;
    std::vector<std::string> command{Program("postgres"), "-D", (directory_ / "data").string(), "-p",
                                     std::to_string(port_)};
    const auto set = [&](const std::string& setting) { command.insert(command.end(), {"-c", setting}); };
    set(std::string("listen_addresses=") + (onSocket ? "" : "127.0.0.1"));
    set("unix_socket_directories=" + (onSocket ? directory_.string() : ""));
    set("fsync=off");
    if (options_.listens == PostgresOptions::Listens::TcpWithTls) {
        set("ssl=on");
        set("ssl_cert_file=" + Certificate().string());
        set("ssl_key_file=" + (directory_ / "server.key").string());
    }
    for (const std::string& setting : options_.settings) set(setting);
    return command;
}

// One that takes too long is ended.
bool PostgresServer::HasStarted() {
    for (int attempt = 0; attempt < 300; ++attempt) {
        if (waitpid(process_, nullptr, WNOHANG) == process_) {
            process_ = 0;
            return false;
        }
        if (RunToEnd({Program("pg_isready"), "-q", "-h", Host(), "-p", std::to_string(port_)}) == 0)
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    Stop();
    return false;
}

void PostgresServer::Stop() { StopBy(SIGQUIT); }

void PostgresServer::ShutDown() { StopBy(SIGINT); }

void PostgresServer::Crash() {
    if (!Running()) return;
    const std::string pid = std::to_string(process_);
    kill(process_, SIGSTOP);  // it would start others
    std::ifstream children("/proc/" + pid + "/task/" + pid + "/children");
    for (pid_t child; children >> child;) kill(child, SIGKILL);
    kill(process_, SIGKILL);
    WaitFor(process_);
    process_ = 0;
}

// Set by the server's own user, who may do that to his processes.
void PostgresServer::LimitFiles(std::optional<std::uintmax_t> bytes) const {
    const std::string limit = bytes ? std::to_string(*bytes) : "unlimited";
    if (RunToEnd({"/usr/bin/prlimit", "--pid", std::to_string(process_), "--fsize=" + limit + ":"}) != 0)
        throw std::runtime_error("the length of the server's files can't be limited: " + Output());
}

void PostgresServer::StopBy(int signal) {
    if (!Running()) return;
    kill(process_, signal);
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
