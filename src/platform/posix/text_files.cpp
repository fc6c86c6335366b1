#include "platform/posix/text_files.h"

#include <array>

#include "platform/error.h"
#include "platform/posix/regular_file.h"

namespace iqrx::platform::posix {

namespace {

using Purpose = RegularFile::Purpose;

class PlainTextStream : public TextStream {
public:
    PlainTextStream(const std::filesystem::path& file, Purpose purpose) : file_(file, purpose) {}

    bool AtEndOfStream() override { return begin_ == end_ && !Fill(); }

    std::string ReadLine() override {
        if (AtEndOfStream()) throw RuntimeError(62, "iQRXyQRXSync", "Input past end of file");
        std::string line;
        do {
            const std::string_view read(buffer_.data() + begin_, end_ - begin_);
            const auto lineEnd = read.find('\n');
            line += read.substr(0, lineEnd);
            begin_ += std::min(lineEnd, read.size() - 1) + 1;
            if (lineEnd != std::string_view::npos) break;
        } while (Fill());
        if (line.ends_with('\r')) line.pop_back();
        return line;
    }

    void WriteLine(const std::string& text) override { file_.Write(text + "\r\n"); }

    void Close() override { file_.Close(); }

private:
    bool Fill() {
        begin_ = 0;
        end_ = file_.Read(buffer_);
        return end_ > 0;
    }

    RegularFile file_;
    std::array<char, 4096> buffer_{};
    std::size_t begin_ = 0, end_ = 0;  // what is read ahead
};

class PlainAppendingFile : public AppendingFile {
public:
    explicit PlainAppendingFile(const std::filesystem::path& file) : file_(file, Purpose::Append) {}
    void Append(std::string_view text) override { file_.Write(text); }

private:
    RegularFile file_;
};

}  // namespace

std::unique_ptr<TextStream> PlainTextFiles::CreateTextFile(const std::filesystem::path& file) {
    return std::make_unique<PlainTextStream>(file, Purpose::Replace);
}

std::unique_ptr<TextStream> PlainTextFiles::OpenTextFile(const std::filesystem::path& file) {
    return std::make_unique<PlainTextStream>(file, Purpose::Read);
}

std::unique_ptr<AppendingFile> PlainTextFiles::OpenForAppending(const std::filesystem::path& file) {
    return std::make_unique<PlainAppendingFile>(file);
}

}  // namespace iqrx::platform::posix
