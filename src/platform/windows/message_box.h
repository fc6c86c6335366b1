// The message box of a process that may have nobody in front of it.
#pragma once

#include "platform/windows/machine.h"

namespace iqrx::platform::windows {

class UserMessageBox : public MessageBox {
public:
    UserMessageBox(Audience audience, std::chrono::milliseconds limit) : audience_(audience), limit_(limit) {}
    void Show(const std::string& text) override;

private:
    Audience audience_;
    std::chrono::milliseconds limit_;
};

}  // namespace iqrx::platform::windows
