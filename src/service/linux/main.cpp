#include <iostream>
#include <string>
#include <string_view>

#include "hosting/composition.h"
#include "hosting/sub_main.h"
#include "hosting/version.h"
#include "platform/error.h"

namespace {

// The request is one text: the arguments joined by one blank each.
std::string CommandLineText(int count, char** arguments) {
    std::string text;
    for (int i = 1; i < count; ++i) text += (i > 1 ? " " : "") + std::string(arguments[i]);
    return text;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        if (argc == 2 && std::string_view(argv[1]) == "--version") {
            std::cout << iqrx::hosting::VersionLine("iQRXyQRXSync") << '\n';
            return iqrx::hosting::kCompleted;
        }
        iqrx::hosting::Composition parts;
        iqrx::control::Process process(parts.Machine(), parts.Databases(), parts.Erps(), parts.Objects(),
                                       std::cerr);
        return iqrx::hosting::SubMain(process, CommandLineText(argc, argv));
    } catch (...) {
        std::cerr << iqrx::runtime::DiagnosticLine(iqrx::platform::CurrentError().description) << '\n';
        return iqrx::hosting::kFailed;
    }
}
