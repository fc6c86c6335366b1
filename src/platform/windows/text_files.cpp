#include "platform/windows/text_files.h"

#include "platform/conversions.h"
#include "platform/windows/com_object.h"

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

ObjectRef FileSystem() { return ComObjectFactory().CreateObject("Scripting.FileSystemObject"); }

}  // namespace

std::unique_ptr<TextStream> ScriptingTextFiles::CreateTextFile(const std::filesystem::path& file) {
    const bool overwrite = true;
    return std::make_unique<ScriptingTextStream>(
        ToObject(Call(*FileSystem(), "CreateTextFile", Utf8(file.native()), overwrite)));
}

std::unique_ptr<TextStream> ScriptingTextFiles::OpenTextFile(const std::filesystem::path& file) {
    return std::make_unique<ScriptingTextStream>(
        ToObject(Call(*FileSystem(), "OpenTextFile", Utf8(file.native()), kForReading)));
}

}  // namespace iqrx::platform::windows
