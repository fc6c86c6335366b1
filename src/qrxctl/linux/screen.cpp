#include "qrxctl/screen.h"

#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <cstdlib>
#include <optional>
#include <string_view>
#include <thread>

namespace iqrx::qrxctl {

namespace {

constexpr char kCtrlC = 3;

// Ctrl-C is a key like any other then, so that the terminal is put back by whoever changed it.
std::optional<termios> TakeKeys() {
    termios before{};
    if (!isatty(STDIN_FILENO) || tcgetattr(STDIN_FILENO, &before) != 0) return std::nullopt;
    termios keys = before;
    keys.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO | ISIG);
    keys.c_cc[VMIN] = 0;
    keys.c_cc[VTIME] = 0;
    if (tcsetattr(STDIN_FILENO, TCSANOW, &keys) != 0) return std::nullopt;
    return before;
}

// True: a key that ends it, or nobody there any more to press one.
bool ReadsEnd() {
    char key = 0;
    const ssize_t got = read(STDIN_FILENO, &key, 1);
    return got <= 0 || key == 'q' || key == 'Q' || key == kCtrlC;
}

}  // namespace

struct Screen::Keys {
    std::optional<termios> before = TakeKeys();
};

Screen::Screen() : keys_(std::make_unique<Keys>()) {}

Screen::~Screen() {
    if (keys_->before) tcsetattr(STDIN_FILENO, TCSANOW, &*keys_->before);
}

bool Screen::CanRewrite() const {
    const char* type = std::getenv("TERM");
    return isatty(STDOUT_FILENO) != 0 && type && std::string_view(type) != "dumb";
}

int Screen::Lines() const {
    winsize size{};
    return ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 ? size.ws_row : 0;
}

bool Screen::EndsWithin(std::chrono::seconds time) {
    using Clock = std::chrono::steady_clock;
    const Clock::time_point end = Clock::now() + time;
    if (!keys_->before) {
        std::this_thread::sleep_until(end);
        return false;
    }
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
        if (left.count() <= 0) return false;
        pollfd input{STDIN_FILENO, POLLIN, 0};
        if (poll(&input, 1, static_cast<int>(left.count())) > 0 && ReadsEnd()) return true;
    }
}

}  // namespace iqrx::qrxctl
