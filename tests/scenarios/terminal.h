// A program at a terminal, with somebody who types.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <vector>

namespace iqrx::testing {

class Terminal {
public:
    Terminal(const std::vector<std::string>& command, const std::filesystem::path& directory);
    ~Terminal();
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    // Reads on until the screen shows the text; false when the program ended, or a minute went by.
    bool Shows(const std::string& text);
    void Type(const std::string& line);  // and the return key
    void Signal(int signal);
    int Wait();  // the exit code

    const std::string& Screen() const { return screen_; }  // what was shown so far, lines ended by LF

private:
    bool Read();

    pid_t process_ = -1;
    int master_ = -1;
    std::string screen_;
};

}  // namespace iqrx::testing
