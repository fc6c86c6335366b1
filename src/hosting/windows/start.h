// How the process was started.
#pragma once

#include <string>

#include "platform/windows/machine.h"

namespace iqrx::hosting::windows {

enum class StartKind { CommandLine, Embedding, Register, Unregister, Version };

struct Start {
    StartKind kind = StartKind::CommandLine;
    std::string commandLine;  // the request, the arguments joined by one blank each
};

// COM's switches begin with '/' or '-' and are not case-sensitive.
Start ReadStart(int count, const wchar_t* const* arguments);

// Nobody can see a message box of a process that COM started, or of one without a desktop.
platform::windows::Audience AudienceOfStart();

}  // namespace iqrx::hosting::windows
