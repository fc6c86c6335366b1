#include "qrxctl/question.h"

#include <unistd.h>

#include <iostream>

#include "platform/text.h"

namespace iqrx::qrxctl {

bool CanAsk() { return isatty(STDIN_FILENO) != 0 && isatty(STDERR_FILENO) != 0; }

std::string Ask(std::ostream& talk, const std::string& question) {
    talk << question << ' ' << std::flush;
    std::string answer;
    std::getline(std::cin, answer);
    if (answer.ends_with('\r')) answer.pop_back();
    return std::string(platform::Trim(answer, " "));
}

bool AskYesOrNo(std::ostream& talk, const std::string& question) {
    const std::string answer = Ask(talk, question + " [y/N]");
    return platform::EqualIgnoringCase(answer, "y") || platform::EqualIgnoringCase(answer, "yes");
}

}  // namespace iqrx::qrxctl
