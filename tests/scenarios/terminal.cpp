#include "scenarios/terminal.h"

#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <stdexcept>

namespace iqrx::testing {

Terminal::Terminal(const std::vector<std::string>& command, const std::filesystem::path& directory) {
    std::vector<char*> arguments;
    for (const std::string& word : command) arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    winsize size{.ws_row = 24, .ws_col = 80, .ws_xpixel = 0, .ws_ypixel = 0};
    process_ = forkpty(&master_, nullptr, nullptr, &size);
    if (process_ < 0) throw std::runtime_error("no terminal");
    if (process_ > 0) return;
    // Whatever the tests were started by ignores: a process behind a shell does not hear Ctrl-C.
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) signal(number, SIG_DFL);
    if (chdir(directory.c_str()) == 0) execv(arguments[0], arguments.data());
    _exit(127);
}

Terminal::~Terminal() {
    if (process_ > 0) {
        kill(process_, SIGKILL);
        waitpid(process_, nullptr, 0);
    }
    close(master_);
}

bool Terminal::Shows(const std::string& text) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (screen_.find(text) == std::string::npos)
        if (std::chrono::steady_clock::now() > end || !Read()) return false;
    return true;
}

void Terminal::Type(const std::string& line) {
    const std::string keys = line + "\r";
    if (write(master_, keys.data(), keys.size()) < 0) throw std::runtime_error("nobody reads the keys");
}

void Terminal::Signal(int signal) { kill(process_, signal); }

int Terminal::Wait() {
    while (Read()) {
    }
    int status = 0;
    waitpid(process_, &status, 0);
    process_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

bool Terminal::Read() {
    constexpr int kMinute = 60'000;
    pollfd ready{.fd = master_, .events = POLLIN, .revents = 0};
    if (poll(&ready, 1, kMinute) <= 0) return false;
    std::array<char, 4096> buffer;
    const ssize_t got = read(master_, buffer.data(), buffer.size());
    for (ssize_t i = 0; i < got; ++i)
        if (buffer[static_cast<std::size_t>(i)] != '\r') screen_ += buffer[static_cast<std::size_t>(i)];
    return got > 0;
}

}  // namespace iqrx::testing
