#include <iostream>

#include "composition/composition.h"
#include "hosting/sub_main.h"
#include "platform/error.h"
#include "platform/posix/machine.h"

int main(int argc, char** argv) {
    using namespace iqrx::hosting;
    iqrx::platform::posix::FillStandardStreams();
    try {
        const std::vector<std::string> words = iqrx::platform::posix::TakeArguments(argc, argv);
        if (const auto answer = AnswerAboutItself(words)) {
            std::cout << *answer;
            return kCompleted;
        }
        const auto stop = ListenForStop();
        Composition parts(SurroundingsOfService(Variable, stop.get()));
        const auto recorder = RecordRuns(parts, std::cerr, *stop);
        iqrx::control::Process process(parts.Ports(std::cerr, recorder.get()));
        return SubMain(process, RequestText(words));
    } catch (...) {
        std::cerr << iqrx::runtime::DiagnosticLine(iqrx::platform::CurrentError().description) << '\n';
        return kFailed;
    }
}
