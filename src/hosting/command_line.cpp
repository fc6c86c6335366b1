#include "hosting/command_line.h"

#include "platform/connection_string.h"
#include "platform/conversions.h"
#include "platform/error.h"
#include "platform/printable.h"
#include "runtime/trim.h"

namespace iqrx::hosting {

namespace {

constexpr std::string_view kSeparator = "{}";
constexpr std::size_t kStandaloneCount = 12;
constexpr std::size_t kFewestArguments = 7;
constexpr std::size_t kLongestShown = 100;

std::string NameOf(ArgumentIndex index) {
    switch (index) {
        case kTableId:
            return "table id";
        case kSyncMethod:
            return "method";
        case kStatusKey:
            return "status key";
        case kPlatform:
            return "platform";
        case kInstance:
            return "instance";
        default:
            return "text";
    }
}

[[noreturn]] void RaiseInvalid(runtime::MessageCatalog& messages, std::string_view label,
                               const std::string& argument, const char* source) {
    throw platform::RuntimeError(
        kInvalidArgument, source,
        runtime::Fill(messages.GetI18nText(label), "%1", platform::Printable(argument)) +
            messages.GetI18nText("SLBL0026") + "\r\n");
}

// Weak on purpose: the comparison converts the argument first, so that a text that is no number fails there
// with the conversion's own error, and any number passes.
void RequireOneOrTwo(runtime::MessageCatalog& messages, std::string_view label, const CommandLine& line,
                     ArgumentIndex index) {
    const platform::Double number = line.Number(index);
    if (!platform::IsNumeric(line.At(index)) && number != 1 && number != 2)
        RaiseInvalid(messages, label, line.At(index), "iQrx Data Copy - Start");
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
                                    "argument " + std::to_string(index) + " is missing: there are " +
                                        std::to_string(Count()) + ", a request has 11 or 12");
    return arguments_[index];
}

platform::Double CommandLine::Number(ArgumentIndex index) const {
    return Converted(index, platform::ToDouble);
}

platform::Integer CommandLine::Integer(ArgumentIndex index) const {
    return Converted(index, platform::ToInteger);
}

platform::Long CommandLine::Long(ArgumentIndex index) const { return Converted(index, platform::ToLong); }

template <class Result>
Result CommandLine::Converted(ArgumentIndex index, Result (*convert)(const platform::Value&)) const {
    const std::string& argument = At(index);
    return platform::NamingPlace([&] { return convert(argument); },
                                 [&] {
                                     return "argument " + std::to_string(index) + ", the " + NameOf(index) +
                                            ", is \"" + platform::Printable(argument, kLongestShown) + "\"";
                                 });
}

std::string CommandLine::Trimmed(ArgumentIndex index) const { return std::string(runtime::Trim(At(index))); }

std::string CommandLine::LogDirectory() const {
    return Count() > kLogDirectory ? At(kLogDirectory) : std::string();
}

void CommandLine::Validate(runtime::MessageCatalog& messages) const {
    if (Count() < kFewestArguments)
        RaiseInvalid(messages, "SLBL0232", platform::Masked(text_), "iQRX Data Copy - Start");
    RequireOneOrTwo(messages, "SLBL0235", *this, kSyncMethod);
    if (!platform::IsNumeric(At(kStatusKey)))
        RaiseInvalid(messages, "SLBL0237", At(kStatusKey), "iQrx Data Copy - Start");
    RequireOneOrTwo(messages, "SLBL0234", *this, kPlatform);
}

void CommandLine::Apply(control::Settings& settings) const {
    settings.standalone = Count() == kStandaloneCount;
    settings.statusKey = Long(kStatusKey);
    settings.tableStatus = settings.statusKey != 0 && !settings.standalone;
    if (platform::IsNumeric(At(kInstance))) settings.currentInstanceNumber = Integer(kInstance);
    settings.treeGroup = Trimmed(kTreeGroup);
    const platform::Double table = platform::IsNumeric(At(kTableId)) ? Number(kTableId) : 0;
    if (table == 99) settings.calendarRunParameter99 = At(kCalendarParameter);
    if (table == 98) settings.calendarRunParameter98 = At(kCalendarParameter);
    settings.commandLineText = At(kLogDirectory);
}

}  // namespace iqrx::hosting
