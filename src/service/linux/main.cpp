#include <iostream>

#include "composition/composition.h"
#include "composition/run_recorder.h"
#include "hosting/sub_main.h"
#include "hosting/version.h"
#include "platform/error.h"
#include "platform/posix/arguments.h"

int main(int argc, char** argv) {
    try {
        const std::vector<std::string> words = iqrx::platform::posix::TakeArguments(argc, argv);
        if (const auto answer = iqrx::hosting::AnswerAboutItself(words)) {
            std::cout << *answer;
            return iqrx::hosting::kCompleted;
        }
        const auto stop = iqrx::hosting::ListenForStop();
        iqrx::hosting::Composition parts(
            iqrx::hosting::SurroundingsOfService(iqrx::hosting::Variable, stop.get()));
        const auto recorder = iqrx::hosting::RecordRuns(parts, std::cerr, *stop);
        iqrx::control::Process process(parts.Ports(std::cerr, recorder.get()));
        return iqrx::hosting::SubMain(process, iqrx::hosting::RequestText(words));
    } catch (...) {
        std::cerr << iqrx::runtime::DiagnosticLine(iqrx::platform::CurrentError().description) << '\n';
        return iqrx::hosting::kFailed;
    }
}
