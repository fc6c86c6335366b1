// The ports of a Windows machine: clock, locale, time zone and message box of Win32, XML documents and
// text files of the system's own COM components. Its thread has entered an apartment.
#pragma once

#include <memory>

#include "platform/machine.h"

namespace iqrx::platform::windows {

// Who can see a message box.
enum class Audience {
    Somebody,  // the box is shown; unanswered it closes by itself, so that no run waits forever
    Nobody,    // the text goes to the debugger's output: a server that COM started has no one to press the
               // button
};

std::shared_ptr<const Machine> CreateMachine(Audience audience);  // its ports are borrowed from it

// Text files through the scripting run-time's file-system object: ANSI text, lines that end in CR LF. Files
// that grow at their end through Win32.
std::unique_ptr<TextFiles> CreateTextFiles();
// XML documents of the system's own parser; each raises RuntimeError where that is missing.
std::unique_ptr<XmlDocumentFactory> CreateXmlDocuments();

// Somebody, when the process owns a visible desktop.
Audience AudienceOfDesktop();

std::filesystem::path ProgramFile();

}  // namespace iqrx::platform::windows
