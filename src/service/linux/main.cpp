#include <iostream>

#include "composition/composition.h"
#include "hosting/sub_main.h"
#include "hosting/version.h"
#include "platform/error.h"

int main(int argc, char** argv) {
    try {
        const std::vector<std::string> words(argv, argv + argc);
        if (words.size() == 2 && words[1] == "--version") {
            std::cout << iqrx::hosting::VersionLine("iQRXyQRXSync") << '\n';
            return iqrx::hosting::kCompleted;
        }
        iqrx::hosting::Composition parts(iqrx::hosting::SurroundingsOf(iqrx::hosting::Variable));
        iqrx::control::Process process(parts.Ports(std::cerr));
        return iqrx::hosting::SubMain(process, iqrx::hosting::RequestText(words));
    } catch (...) {
        std::cerr << iqrx::runtime::DiagnosticLine(iqrx::platform::CurrentError().description) << '\n';
        return iqrx::hosting::kFailed;
    }
}
