// Text files of short lines, and files that grow at their end.
#pragma once

#include "platform/machine.h"

namespace iqrx::platform::posix {

class PlainTextFiles : public TextFiles {
public:
    std::unique_ptr<TextStream> CreateTextFile(const std::filesystem::path& file) override;
    std::unique_ptr<TextStream> OpenTextFile(const std::filesystem::path& file) override;
    std::unique_ptr<AppendingFile> OpenForAppending(const std::filesystem::path& file) override;
};

}  // namespace iqrx::platform::posix
