#include "hosting/version.h"

namespace iqrx::hosting {

std::string VersionLine(std::string_view program) { return std::string(program) + " " IQRX_VERSION; }

std::optional<std::string> AnswerAboutItself(std::span<const std::string> words) {
    if (words.size() != 2 || (words[1] != "--version" && words[1] != "--help")) return std::nullopt;
    std::string answer = VersionLine("iQRXyQRXSync") + "\n";
    if (words[1] == "--help")
        answer +=
            "iQRXyQRXSync 'CONNECTION{}DATABASE{}TABLEID{}METHOD{}LOGDIR{}RUNPARAMETER"
            "{}STATUSKEY{}CALENDAR{}PLATFORM{}INSTANCE{}GROUP{}EXTRA'\n";
    return answer;
}

}  // namespace iqrx::hosting
