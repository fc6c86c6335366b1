// The parts of the machine that have a file of their own.
#pragma once

#include "platform/windows/machine.h"

namespace iqrx::platform::windows {

std::unique_ptr<MessageDisplay> CreateMessageBox(Audience audience, std::chrono::milliseconds limit);
// Text files through the scripting run-time's file-system object: ANSI text, lines that end in CR LF. Files
// that grow at their end through Win32.
std::unique_ptr<TextFiles> CreateTextFiles();
// XML documents of the system's own parser; each raises RuntimeError where that is missing.
std::unique_ptr<XmlDocumentFactory> CreateXmlDocuments();

}  // namespace iqrx::platform::windows
