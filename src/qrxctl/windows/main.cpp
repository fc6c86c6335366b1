#include <cstdlib>

#include "platform/windows/leave_process.h"
#include "platform/windows/text.h"
#include "qrxctl/tool.h"

using namespace iqrx::platform::windows;

int wmain(int argc, wchar_t** argv) {
    std::vector<std::string> words;
    for (int i = 0; i < argc; ++i) words.push_back(Utf8(argv[i]));
    LeaveProcess(iqrx::qrxctl::RunTool(words, [](const std::string& name) -> std::optional<std::string> {
        if (const wchar_t* value = _wgetenv(Wide(name).c_str())) return Utf8(value);
        return std::nullopt;
    }));
}
