// The machine's files, by the system's own COM components.
#pragma once

#include "platform/machine.h"

namespace iqrx::platform::windows {

// Text files through the scripting run-time's file-system object: ANSI text, lines that end in CR LF. Files
// that grow at their end through Win32.
std::unique_ptr<TextFiles> CreateTextFiles();
// XML documents of the system's own parser; each raises RuntimeError where that is missing.
std::unique_ptr<XmlDocumentFactory> CreateXmlDocuments();

}  // namespace iqrx::platform::windows
