#include "platform/windows/files.h"

#include "platform/conversions.h"
#include "platform/error.h"
#include "platform/windows/com_error.h"
#include "platform/windows/com_object.h"
#include "platform/windows/machine.h"

namespace iqrx::platform::windows {

namespace {

constexpr Long kForReading = 1;

class ScriptingTextStream : public TextStream {
public:
    explicit ScriptingTextStream(ObjectRef stream) : stream_(std::move(stream)) {}

    bool AtEndOfStream() override { return ToBoolean(stream_->Get("AtEndOfStream")); }
    std::string ReadLine() override { return ToText(Call(*stream_, "ReadLine")); }
    void WriteLine(const std::string& text) override { Call(*stream_, "WriteLine", text); }
    void Close() override { Call(*stream_, "Close"); }

private:
    ObjectRef stream_;  // its last release closes the file
};

std::string LastError() { return ErrorOfCall(HRESULT_FROM_WIN32(GetLastError()), nullptr, {}).description; }

class AppendedFile : public AppendingFile {
public:
    explicit AppendedFile(const std::filesystem::path& file)
        : name_(Utf8(file.native())),
          handle_(Open(file, FILE_APPEND_DATA | SYNCHRONIZE, FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_ALWAYS)) {
        if (!handle_) RaiseRuntimeError(kPathFileAccess, name_ + ": " + LastError());
        if (!IsRegular(handle_)) RaiseRuntimeError(kPathFileAccess, name_ + ": it is not a regular file");
    }

    void Append(std::string_view text) override {
        DWORD written = 0;
        if (WriteFile(handle_.Get(), text.data(), static_cast<DWORD>(text.size()), &written, nullptr) == 0 ||
            written != text.size())
            RaiseRuntimeError(kDeviceIoError, name_ + ": " + LastError());
    }

private:
    std::string name_;
    Handle handle_;
};

ObjectRef FileSystem() { return ComObjectFactory().CreateObject("Scripting.FileSystemObject"); }

class ScriptingTextFiles final : public TextFiles {
    std::unique_ptr<TextStream> CreateTextFile(const std::filesystem::path& file) override {
        // A file to be overwritten must not be a link to another one.
        if (Has(file, FILE_ATTRIBUTE_REPARSE_POINT))
            RaiseRuntimeError(kPathFileAccess, Utf8(file.native()) + ": it is a link");
        const bool overwrite = true;
        return std::make_unique<ScriptingTextStream>(
            ToObject(Call(*FileSystem(), "CreateTextFile", Utf8(file.native()), overwrite)));
    }
    std::unique_ptr<TextStream> OpenTextFile(const std::filesystem::path& file) override {
        return std::make_unique<ScriptingTextStream>(
            ToObject(Call(*FileSystem(), "OpenTextFile", Utf8(file.native()), kForReading)));
    }
    std::unique_ptr<AppendingFile> OpenForAppending(const std::filesystem::path& file) override {
        return std::make_unique<AppendedFile>(file);
    }
};

class MsxmlDocument : public XmlDocument {
public:
    MsxmlDocument() : document_(ComObjectFactory().CreateObject("MSXML2.DomDocument")) {
        document_->Set("async", false);
    }

    bool Load(const std::filesystem::path& file) override {
        return ToBoolean(Call(*document_, "load", Utf8(file.native())));
    }
    std::optional<std::string> SelectSingleNodeText(const std::string& path) override {
        const ObjectRef node = ObjectOrNothing(Call(*document_, "selectSingleNode", path));
        if (!node) return std::nullopt;
        return ToText(node->Get("text"));
    }

private:
    ObjectRef document_;
};

}  // namespace

std::unique_ptr<TextFiles> CreateTextFiles() { return std::make_unique<ScriptingTextFiles>(); }

std::unique_ptr<XmlDocument> CreateXmlDocument() { return std::make_unique<MsxmlDocument>(); }

}  // namespace iqrx::platform::windows
