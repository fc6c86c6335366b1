#include "platform/trace/trace_file.h"

#include "platform/error.h"

namespace iqrx::platform::trace {

TraceFile::TraceFile(const std::filesystem::path& file) {
    const std::u8string name = file.u8string();
    name_.assign(name.begin(), name.end());
    stream_.open(file, std::ios::binary | std::ios::app);
    if (!stream_) RaiseRuntimeError(kPathFileAccess, "the statement trace " + name_ + " cannot be written");
}

void TraceFile::Append(std::string line) {
    line += '\n';
    stream_ << line << std::flush;
    if (!stream_) RaiseRuntimeError(kDeviceIoError, "the statement trace " + name_ + " cannot be written");
}

}  // namespace iqrx::platform::trace
