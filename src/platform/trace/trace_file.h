// The file that statements are appended to as they are executed, one JSON object a line.
#pragma once

#include <filesystem>
#include <fstream>
#include <string>

namespace iqrx::platform::trace {

class TraceFile {
public:
    explicit TraceFile(const std::filesystem::path& file);  // raises RuntimeError that names it

    // Appends the line and hands it to the system. Raises RuntimeError when that fails.
    void Append(std::string line);

private:
    std::string name_;
    std::ofstream stream_;
};

}  // namespace iqrx::platform::trace
