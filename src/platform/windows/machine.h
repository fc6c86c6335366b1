// The ports of a Windows machine: clock, locale, time zone and message box of Win32, XML documents and
// text files of the system's own COM components. Its thread has entered an apartment.
#pragma once

#include <chrono>
#include <memory>

#include "platform/machine.h"

namespace iqrx::platform::windows {

// Who can see a message box.
enum class Audience {
    Somebody,  // the box is shown; unanswered it closes by itself, so that no run waits forever
    Nobody,    // the text goes to the debugger's output: a server that COM started has no one to press the
               // button
};

class WindowsMachine {
public:
    explicit WindowsMachine(Audience audience, std::chrono::milliseconds boxLimit = std::chrono::minutes(1));
    ~WindowsMachine();

    Machine Ports();  // valid for as long as this object lives

private:
    struct Parts;
    std::unique_ptr<Parts> parts_;
};

// Somebody, when the process owns a visible desktop.
Audience AudienceOfDesktop();

std::filesystem::path ProgramFile();

}  // namespace iqrx::platform::windows
