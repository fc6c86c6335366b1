// What only somebody at a terminal can decide.
#pragma once

#include <iosfwd>
#include <string>

namespace iqrx::qrxctl {

// Whether somebody reads the question and can type the answer.
bool CanAsk();

// The line that is typed, without the blanks around it; empty at the end of the input.
std::string Ask(std::ostream& talk, const std::string& question);

bool AskYesOrNo(std::ostream& talk, const std::string& question);  // no, unless y or yes is typed

}  // namespace iqrx::qrxctl
