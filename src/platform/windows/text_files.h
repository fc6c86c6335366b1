// Text files through the scripting run-time's file-system object: ANSI text, lines that end in CR LF. Files
// that grow at their end through Win32.
#pragma once

#include "platform/machine.h"

namespace iqrx::platform::windows {

class ScriptingTextFiles : public TextFiles {
public:
    std::unique_ptr<TextStream> CreateTextFile(const std::filesystem::path& file) override;
    std::unique_ptr<TextStream> OpenTextFile(const std::filesystem::path& file) override;
    std::unique_ptr<AppendingFile> OpenForAppending(const std::filesystem::path& file) override;
};

}  // namespace iqrx::platform::windows
