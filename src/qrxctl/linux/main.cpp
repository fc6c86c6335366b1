#include <cstdlib>

#include "qrxctl/tool.h"

int main(int argc, char** argv) {
    return iqrx::qrxctl::RunTool({argv, argv + argc}, [](const std::string& name) -> std::optional<std::string> {
        if (const char* value = std::getenv(name.c_str())) return value;
        return std::nullopt;
    });
}
