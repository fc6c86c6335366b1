// A process that runs a function of the test. It ends with its owner.
#pragma once

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <exception>
#include <functional>
#include <stdexcept>

namespace iqrx::testing {

class ForkedProcess {
public:
    using Ready = std::function<void()>;  // the function calls it for WaitUntilReady

    explicit ForkedProcess(const std::function<void(const Ready&)>& function) {
        if (pipe(pipe_) != 0) throw std::runtime_error("no pipe");
        process_ = fork();
        if (process_ < 0) throw std::runtime_error("no process");
        if (process_ > 0) {
            close(pipe_[1]);
            return;
        }
        int exitCode = 0;
        try {
            function([this] { (void)!write(pipe_[1], "!", 1); });
        } catch (const std::exception& error) {
            (void)!write(STDERR_FILENO, error.what(), std::char_traits<char>::length(error.what()));
            exitCode = 1;
        }
        _exit(exitCode);
    }
    ~ForkedProcess() {
        if (process_ > 0) Kill();
        close(pipe_[0]);
    }
    ForkedProcess(const ForkedProcess&) = delete;
    ForkedProcess& operator=(const ForkedProcess&) = delete;

    bool WaitUntilReady() {  // false: it ended before
        char said = 0;
        return read(pipe_[0], &said, 1) == 1;
    }
    int Wait() {  // the exit code; 128 and the signal's number for a process that a signal ended
        int status = 0;
        waitpid(process_, &status, 0);
        process_ = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    void Kill() {  // as a crash: no handler of the process runs
        kill(process_, SIGKILL);
        Wait();
    }
    pid_t Id() const { return process_; }

private:
    int pipe_[2] = {-1, -1};
    pid_t process_ = -1;
};

inline void GiveUpPrivileges() {  // in a forked process: the superuser may do everything
    constexpr uid_t kNobody = 65534;
    if (geteuid() == 0 && setuid(kNobody) != 0)
        throw std::runtime_error("the test cannot give up its rights");
}

}  // namespace iqrx::testing
