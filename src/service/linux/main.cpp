#include <iostream>
#include <string>

#include "hosting/composition.h"
#include "hosting/sub_main.h"
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
        iqrx::hosting::Composition parts;
        iqrx::control::Process process(parts.Machine(), parts.Databases(), parts.Erps(), parts.Objects(),
                                       std::cerr);
        return iqrx::hosting::SubMain(process, CommandLineText(argc, argv));
    } catch (...) {
        std::cerr << iqrx::runtime::DiagnosticLine(iqrx::platform::CurrentError().description) << '\n';
        return iqrx::hosting::kFailed;
    }
}
