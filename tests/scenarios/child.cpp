#include "scenarios/child.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <utility>

namespace iqrx::testing {

namespace {

namespace fs = std::filesystem;

std::vector<char*> Pointers(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (std::string& text : texts) pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

std::vector<std::string> Variables(const Environment& added) {
    std::vector<std::string> variables;
    for (char** variable = environ; *variable; ++variable) {
        const std::string text = *variable;
        if (text.starts_with("QRX") || added.contains(text.substr(0, text.find('=')))) continue;
        variables.push_back(text);
    }
    for (const auto& [name, value] : added) variables.push_back(name + "=" + value);
    return variables;
}

fs::path OutputFile(const char* what) {
    static std::atomic<int> count = 0;
    return fs::temp_directory_path() /
           ("scenario-" + std::to_string(getpid()) + "-" + std::to_string(++count) + what);
}

}  // namespace

Child::Child(const std::vector<std::string>& command, const fs::path& directory, const Environment& environment)
    : out_(OutputFile(".out")), err_(OutputFile(".err")) {
    std::vector<std::string> arguments = command, variables = Variables(environment);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addchdir_np(&actions, directory.c_str());
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, out_.c_str(), O_WRONLY | O_CREAT, 0600);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, err_.c_str(), O_WRONLY | O_CREAT, 0600);
    // Whatever the tests were started by ignores: a process behind a shell does not hear Ctrl-C.
    sigset_t heard;
    sigemptyset(&heard);
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&heard, number);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setsigdefault(&attributes, &heard);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
    const int failure = posix_spawn(&process_, command[0].c_str(), &actions, &attributes,
                                    Pointers(arguments).data(), Pointers(variables).data());
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    if (failure != 0) throw std::runtime_error("cannot start " + command[0]);
}

Child::~Child() {
    if (process_ > 0) {
        Kill();
        Wait();
    }
    std::error_code ignored;
    fs::remove(out_, ignored);
    fs::remove(err_, ignored);
}

bool Child::HasEnded() {
    int status = 0;
    if (!status_ && waitpid(process_, &status, WNOHANG) == process_) status_ = status;
    return status_.has_value();
}

Finished Child::Wait() {
    int status = 0;
    if (status_)
        status = *status_;
    else
        waitpid(process_, &status, 0);
    process_ = -1;
    Finished finished;
    finished.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    finished.out = ReadText(out_);
    finished.err = ReadText(err_);
    return finished;
}

std::string Child::Listed() const {
    std::string words = ReadText("/proc/" + std::to_string(process_) + "/cmdline");
    std::ranges::replace(words, '\0', ' ');
    return words;
}

void Child::Kill() { Signal(SIGKILL); }

void Child::Signal(int signal) { kill(process_, signal); }

std::string Child::ErrSoFar() const { return ReadText(err_); }

Finished RunToEnd(const std::vector<std::string>& command, const fs::path& directory,
                  const Environment& environment) {
    return Child(command, directory, environment).Wait();
}

Finished RunAsNobody(const fs::path& program, std::vector<std::string> arguments) {
    const fs::path copy =
        fs::temp_directory_path() / (program.filename().string() + "-" + std::to_string(getpid()));
    fs::copy_file(program, copy, fs::copy_options::overwrite_existing);
    fs::permissions(copy, fs::perms(0755));
    arguments.insert(arguments.begin(), copy.string());
    if (getuid() == 0)
        arguments.insert(arguments.begin(),
                         {"/usr/bin/setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"});
    const Finished run = RunToEnd(arguments, "/");
    fs::remove(copy);
    return run;
}

void WaitUntil(const std::function<bool()>& reached) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (!reached()) {
        if (std::chrono::steady_clock::now() > end) throw std::runtime_error("it never happened");
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
}

std::string ReadText(const fs::path& file) {
    std::ostringstream text;
    text << std::ifstream(file, std::ios::binary).rdbuf();
    return text.str();
}

std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}

}  // namespace iqrx::testing
