// What a Windows machine supplies.
#pragma once

#include <atomic>
#include <memory>

#include "platform/host.h"
#include "platform/machine.h"

namespace iqrx::platform::windows {

// Who can see a message box.
enum class Audience {
    Somebody,  // the box is shown; unanswered it closes by itself, so that no run waits forever
    Nobody,    // the text goes to the debugger's output: a server that COM started has no one to press the
               // button
};

// Clock, locale, time zone and message box of Win32, XML documents and text files of the system's own COM
// components, all borrowed from it. Its thread has entered an apartment.
std::shared_ptr<const Machine> CreateMachine(Audience audience);

// Text files through the scripting run-time's file-system object: ANSI text, lines that end in CR LF. Files
// that grow at their end through Win32.
std::unique_ptr<TextFiles> CreateTextFiles();
// A document of the system's own parser; raises RuntimeError where that is missing.
std::unique_ptr<XmlDocument> CreateXmlDocument();

// Somebody, when the process owns a visible desktop.
Audience AudienceOfDesktop();

std::filesystem::path ProgramFile();

// A file is held by its share mode, so that there is no moment at which a new one is there and not held, and
// a lock far after its text tells so to those who ask, without excluding anybody. A process's terminal is the
// session's name, "Console" or "RDP-Tcp#3"; the start is told by its number, where the system counts.
std::unique_ptr<Host> CreateHost();

// While it lives, the first Ctrl-C or Ctrl-Break asks to stop, and the next one ends the process at once, as
// if nobody handled it. After a close, a log-off and a shutdown the process ends when their handler returns:
// it waits until this is destroyed, so that what it was asked to stop comes to its end; the system waits some
// five seconds for that, at a service's shutdown twenty. Of log-off and shutdown Windows tells services only.
// One at a time in a process. It was asked by "Ctrl-C", "Ctrl-Break", "close", "logoff" or "shutdown".
std::unique_ptr<StopRequest> ListenForConsoleEvents();

// What the handler, which runs in a thread of its own, and the process say to each other.
struct StopConversation {
    std::atomic<const char*> askedBy{nullptr};
    std::atomic<bool> isOver{false};
};

// One event, by its number. Whether it is handled: the system's own handler ends the process. `pause` lets a
// moment pass, `patience` times at most.
bool TakeConsoleEvent(StopConversation& conversation, unsigned long event, void (*pause)(), int patience);

}  // namespace iqrx::platform::windows
