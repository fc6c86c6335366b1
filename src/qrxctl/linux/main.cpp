#include "platform/posix/machine.h"
#include "qrxctl/tool.h"

int main(int argc, char** argv) {
    iqrx::platform::posix::FillStandardStreams();
    return iqrx::qrxctl::RunTool(iqrx::platform::posix::TakeArguments(argc, argv), iqrx::hosting::Variable);
}
