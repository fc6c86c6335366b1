// The terminal on which something is shown again and again, until somebody has seen enough.
#pragma once

#include <chrono>
#include <memory>

namespace iqrx::qrxctl {

class Screen {
public:
    Screen();   // takes keys as they are pressed, where standard input is a terminal
    ~Screen();  // and no longer
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;

    // Whether standard output can be rewritten in place; otherwise what is shown follows what was shown before.
    bool CanRewrite() const;
    int Lines() const;  // that it has; 0: unknown
    // True as soon as q or Ctrl-C is pressed, false when the time is over.
    bool EndsWithin(std::chrono::seconds time);

private:
    struct Keys;
    std::unique_ptr<Keys> keys_;
};

}  // namespace iqrx::qrxctl
