#include "platform/posix/text_files.h"

#include <fstream>

#include "platform/error.h"

namespace iqrx::platform::posix {

namespace {

class PlainTextStream : public TextStream {
public:
    PlainTextStream(const std::filesystem::path& file, std::ios::openmode mode, ErrorNumber failure)
        : name_(file.string()), stream_(file, mode | std::ios::binary) {
        if (!stream_) RaiseRuntimeError(failure, name_);
    }

    bool AtEndOfStream() override { return stream_.peek() == std::fstream::traits_type::eof(); }

    std::string ReadLine() override {
        std::string line;
        if (!std::getline(stream_, line)) throw RuntimeError(62, "iQRXyQRXSync", "Input past end of file");
        if (line.ends_with('\r')) line.pop_back();
        return line;
    }

    void WriteLine(const std::string& text) override {
        stream_ << text << "\r\n";
        Check();
    }

    void Close() override {
        if (!stream_.is_open()) return;
        stream_.clear();  // the end of a file that was read is no failure
        stream_.close();
        Check();
    }

private:
    void Check() {
        if (!stream_) RaiseRuntimeError(kDeviceIoError, name_);
    }

    std::string name_;
    std::fstream stream_;
};

}  // namespace

std::unique_ptr<TextStream> PlainTextFiles::CreateTextFile(const std::filesystem::path& file) {
    return std::make_unique<PlainTextStream>(file, std::ios::out | std::ios::trunc, kPathFileAccess);
}

std::unique_ptr<TextStream> PlainTextFiles::OpenTextFile(const std::filesystem::path& file) {
    std::error_code ignored;
    const ErrorNumber failure = std::filesystem::exists(file, ignored) ? kPathFileAccess : kFileNotFound;
    return std::make_unique<PlainTextStream>(file, std::ios::in, failure);
}

}  // namespace iqrx::platform::posix
