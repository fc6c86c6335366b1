// Files of the state directory as they are read. Raises RuntimeError that names file and cause.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/input_file.h"

namespace iqrx::journal {

// Nothing: there is no such file. Only regular ones are read: a FIFO would make the reader wait.
std::unique_ptr<platform::InputFile> OpenRegular(const std::filesystem::path& file);
std::optional<std::string> ReadText(const std::filesystem::path& file);

// The lines of a file, which is read as a stream; none when there is no such file. A line of more than a
// megabyte, which nobody has written here, comes out in pieces.
class LineReader {
public:
    explicit LineReader(const std::filesystem::path& file);
    std::optional<std::string_view> Next();          // without its end; valid until the next call
    std::int64_t Number() const { return number_; }  // of the last line, from 1 on

private:
    bool Fill();

    const std::filesystem::path name_;
    const std::unique_ptr<platform::InputFile> file_;
    std::vector<char> buffer_;
    std::size_t begin_ = 0, end_ = 0;
    std::uint64_t offset_ = 0;
    std::int64_t number_ = 0;
};

}  // namespace iqrx::journal
