#include "hosting/command_line.h"

#include "platform/conversions.h"
#include "platform/error.h"
#include "runtime/trim.h"

namespace iqrx::hosting {

namespace {

constexpr std::string_view kSeparator = "{}";
constexpr std::size_t kStandaloneCount = 12;
constexpr std::size_t kFewestArguments = 7;

[[noreturn]] void RaiseInvalid(runtime::MessageCatalog& messages, std::string_view label,
                               const std::string& argument, const char* source) {
    throw platform::RuntimeError(kInvalidArgument, source,
                                 runtime::Fill(messages.GetI18nText(label), "%1", argument) +
                                     messages.GetI18nText("SLBL0026") + "\r\n");
}

// Weak on purpose: the comparison converts the argument first, so that a text that is no number fails there
// with the conversion's own error, and any number passes.
void RequireOneOrTwo(runtime::MessageCatalog& messages, std::string_view label, const std::string& argument) {
    const platform::Double number = platform::ToDouble(argument);
    if (!platform::IsNumeric(argument) && number != 1 && number != 2)
        RaiseInvalid(messages, label, argument, "iQrx Data Copy - Start");
}

}  // namespace

CommandLine::CommandLine(std::string text) : text_(std::move(text)) {
    if (text_.empty()) return;
    std::string_view rest = text_;
    for (auto end = rest.find(kSeparator); end != std::string_view::npos; end = rest.find(kSeparator)) {
        arguments_.emplace_back(rest.substr(0, end));
        rest.remove_prefix(end + kSeparator.size());
    }
    arguments_.emplace_back(rest);
}

const std::string& CommandLine::At(ArgumentIndex index) const {
    if (index >= arguments_.size())
        platform::RaiseRuntimeError(platform::kSubscriptOutOfRange,
                                    "argument " + std::to_string(index) + " is missing");
    return arguments_[index];
}

std::string CommandLine::Trimmed(ArgumentIndex index) const { return std::string(runtime::Trim(At(index))); }

std::string CommandLine::LogDirectory() const {
    return Count() > kLogDirectory ? At(kLogDirectory) : std::string();
}

void CommandLine::Validate(runtime::MessageCatalog& messages) const {
    if (Count() < kFewestArguments) RaiseInvalid(messages, "SLBL0232", text_, "iQRX Data Copy - Start");
    RequireOneOrTwo(messages, "SLBL0235", At(kSyncMethod));
    if (!platform::IsNumeric(At(kStatusKey)))
        RaiseInvalid(messages, "SLBL0237", At(kStatusKey), "iQrx Data Copy - Start");
    RequireOneOrTwo(messages, "SLBL0234", At(kPlatform));
}

void CommandLine::Apply(control::Settings& settings) const {
    settings.standalone = Count() == kStandaloneCount;
    settings.statusKey = platform::ToLong(At(kStatusKey));
    settings.tableStatus = settings.statusKey != 0 && !settings.standalone;
    if (platform::IsNumeric(At(kInstance)))
        settings.currentInstanceNumber = platform::ToInteger(At(kInstance));
    settings.treeGroup = Trimmed(kTreeGroup);
    const platform::Double table = platform::IsNumeric(At(kTableId)) ? platform::ToDouble(At(kTableId)) : 0;
    if (table == 99) settings.calendarRunParameter99 = At(kCalendarParameter);
    if (table == 98) settings.calendarRunParameter98 = At(kCalendarParameter);
    settings.commandLineText = At(kLogDirectory);
}

}  // namespace iqrx::hosting
