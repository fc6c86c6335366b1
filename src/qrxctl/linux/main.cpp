#include "qrxctl/tool.h"

int main(int argc, char** argv) {
    return iqrx::qrxctl::RunTool({argv, argv + argc}, iqrx::hosting::Variable);
}
