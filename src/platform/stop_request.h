// Whether somebody asked this process to end, or how far it is.
#pragma once

#include <optional>
#include <string>

namespace iqrx::platform {

class StopRequest {
public:
    virtual ~StopRequest() = default;
    // Who asked, as an operator knows it ("SIGINT", "Ctrl-C", "shutdown"); none while nobody did. Any thread
    // may call this, as often as it likes.
    virtual std::optional<std::string> Asked() const = 0;
    // How often somebody has asked how far the work is; 0 forever on a system that has no way to ask.
    virtual int TimesAskedHowFar() const { return 0; }
};

}  // namespace iqrx::platform
