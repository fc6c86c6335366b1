#include "platform/windows/apartment.h"
#include "platform/windows/text.h"
#include "qrxctl/tool.h"

int wmain(int argc, wchar_t** argv) {
    std::vector<std::string> words;
    for (int i = 0; i < argc; ++i) words.push_back(iqrx::platform::windows::Utf8(argv[i]));
    iqrx::platform::windows::LeaveProcess(iqrx::qrxctl::RunTool(words, iqrx::hosting::Variable));
}
