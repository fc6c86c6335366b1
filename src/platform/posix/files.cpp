#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <pugixml.hpp>
#include <system_error>

#include "platform/error.h"
#include "platform/posix/descriptor.h"
#include "platform/posix/machine.h"
#include "platform/text.h"

namespace iqrx::platform::posix {

namespace {

std::string LastRefusal() {
    if (errno == ELOOP) return "it is a link";
    if (errno == ENXIO) return "it is not a regular file";
    return std::system_category().message(errno);
}

// A file to be replaced is emptied only when it is known to be one.
enum Purpose : int {
    kRead = kAlways | O_RDONLY,
    kAppend = kAlways | O_WRONLY | O_CREAT | O_APPEND,
    kReplace = kAlways | O_WRONLY | O_CREAT
};

// Links are not followed and nothing else is opened: a link that somebody puts in the place of a log must not
// have its target written, and a FIFO must not make the copy wait for a reader.
class RegularFile final : public AppendingFile {
public:
    RegularFile(const std::filesystem::path& file, Purpose purpose)
        : name_(file.string()), descriptor_(open(file.c_str(), purpose, kOwnerWritesGroupReads)) {
        if (!descriptor_) Raise(errno == ENOENT && purpose == kRead ? kFileNotFound : kPathFileAccess);
        struct stat status {};
        const bool regular = fstat(descriptor_.Number(), &status) == 0 && S_ISREG(status.st_mode);
        if (regular && (purpose != kReplace || ftruncate(descriptor_.Number(), 0) == 0)) return;
        RaiseRuntimeError(kPathFileAccess,
                          name_ + ": " + (regular ? LastRefusal() : "it is not a regular file"));
    }

    bool ReadMore(std::string& text) const {  // false at the end
        std::array<char, 4096> buffer;
        ssize_t got = 0;
        do {
            got = read(descriptor_.Number(), buffer.data(), buffer.size());
        } while (got < 0 && errno == EINTR);
        if (got < 0) Raise(kDeviceIoError);
        text.append(buffer.data(), static_cast<std::size_t>(got));
        return got > 0;
    }

    void Append(std::string_view text) override {
        if (!descriptor_.Write(text)) Raise(kDeviceIoError);
    }

    void Close() {
        if (descriptor_.Close() != 0) Raise(kDeviceIoError);
    }

private:
    [[noreturn]] void Raise(ErrorNumber number) const {
        RaiseRuntimeError(number, name_ + ": " + LastRefusal());
    }

    std::string name_;
    Descriptor descriptor_;
};

class PlainTextStream : public TextStream {
public:
    PlainTextStream(const std::filesystem::path& file, Purpose purpose) : file_(file, purpose) {}

    bool AtEndOfStream() override { return ahead_.empty() && !file_.ReadMore(ahead_); }

    std::string ReadLine() override {
        if (AtEndOfStream()) throw RuntimeError(62, kProgram, "Input past end of file");
        while (ahead_.find('\n') == std::string::npos && file_.ReadMore(ahead_)) continue;
        std::string line = ahead_.substr(0, ahead_.find('\n'));
        ahead_.erase(0, line.size() + 1);
        if (line.ends_with('\r')) line.pop_back();
        return line;
    }

    void WriteLine(const std::string& text) override { file_.Append(text + "\r\n"); }

    void Close() override { file_.Close(); }

private:
    RegularFile file_;
    std::string ahead_;  // what is read and not yet a line
};

class PlainTextFiles final : public TextFiles {
    std::unique_ptr<TextStream> CreateTextFile(const std::filesystem::path& file) override {
        return std::make_unique<PlainTextStream>(file, kReplace);
    }
    std::unique_ptr<TextStream> OpenTextFile(const std::filesystem::path& file) override {
        return std::make_unique<PlainTextStream>(file, kRead);
    }
    std::unique_ptr<AppendingFile> OpenForAppending(const std::filesystem::path& file) override {
        return std::make_unique<RegularFile>(file, kAppend);
    }
};

class PugiDocument : public XmlDocument {
public:
    bool Load(const std::filesystem::path& file) override {
        if (document_.load_file(file.c_str())) {
            const auto children = document_.children();
            const auto isElement = [](const pugi::xml_node& node) { return node.type() == pugi::node_element; };
            if (std::count_if(children.begin(), children.end(), isElement) == 1) return true;
        }
        document_.reset();
        return false;
    }

    std::optional<std::string> SelectSingleNodeText(const std::string& path) override {
        const pugi::xml_node node = document_.first_element_by_path(path.c_str());
        if (!node) return std::nullopt;
        const std::string text = pugi::xpath_query("string()").evaluate_string(pugi::xpath_node(node));
        return std::string(Trim(text));  // blanks around it are the file's layout
    }

private:
    pugi::xml_document document_;
};

}  // namespace

std::unique_ptr<TextFiles> CreateTextFiles() { return std::make_unique<PlainTextFiles>(); }

std::unique_ptr<XmlDocument> CreateXmlDocument() { return std::make_unique<PugiDocument>(); }

}  // namespace iqrx::platform::posix
