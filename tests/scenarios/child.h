// Programs run as child processes, the way an administrator or a scheduler starts them.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace iqrx::testing {

struct Finished {
    int exitCode = -1;  // 128 + the signal's number for a process that a signal ended
    std::string out, err;
};

using Environment = std::map<std::string, std::string>;

// A running process. What it writes goes to files, so that it never waits for the test. Ends with its owner.
class Child {
public:
    // Runs in `directory`; `environment` is added to the test's own, from which the programs' variables are taken.
    Child(const std::vector<std::string>& command, const std::filesystem::path& directory,
          const Environment& environment = {});
    ~Child();
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    bool HasEnded();  // without waiting for it
    Finished Wait();
    std::string Listed() const;  // its command, as whoever lists the processes sees it
    void Kill();                 // as a crash: no handler of the process runs
    void Signal(int signal);
    std::string ErrSoFar() const;  // what it has written to standard error

private:
    pid_t process_ = -1;
    std::optional<int> status_;  // of a process that was seen to have ended
    std::filesystem::path out_, err_;
};

Finished RunToEnd(const std::vector<std::string>& command, const std::filesystem::path& directory,
                  const Environment& environment = {});

// As somebody who is neither the files' owner nor of their group, nor the superuser. The program is copied to
// where everybody may run it.
Finished RunAsNobody(const std::filesystem::path& program, std::vector<std::string> arguments);

// For what another process is about to do; throws after a minute, which is for machines that are busy.
void WaitUntil(const std::function<bool()>& reached);

std::string ReadText(const std::filesystem::path& file);
std::vector<std::string> Lines(const std::string& text);

}  // namespace iqrx::testing
