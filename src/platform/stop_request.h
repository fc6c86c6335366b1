// Whether somebody asked this process to end.
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
};

}  // namespace iqrx::platform
