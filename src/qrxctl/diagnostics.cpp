#include "qrxctl/diagnostics.h"

#include "qrxctl/lines.h"
#include "runtime/run_log.h"

namespace iqrx::qrxctl {

Diagnostics::Diagnostics(std::ostream& talk)
    : std::ostream(static_cast<std::streambuf*>(this)), talk_(talk) {}

int Diagnostics::overflow(int character) {
    using Traits = std::streambuf::traits_type;
    if (Traits::eq_int_type(character, Traits::eof())) return Traits::not_eof(character);
    if (character != '\n') {
        line_ += Traits::to_char_type(character);
        return character;
    }
    const std::string service = runtime::DiagnosticLine("");
    talk_ << Complaint(line_.starts_with(service) ? line_.substr(service.size()) : line_) << std::flush;
    line_.clear();
    return character;
}

}  // namespace iqrx::qrxctl
