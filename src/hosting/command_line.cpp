#include "hosting/command_line.h"

#include "platform/connection_string.h"
#include "platform/conversions.h"
#include "platform/error.h"
#include "platform/printable.h"
#include "platform/text.h"

namespace iqrx::hosting {

namespace {

constexpr std::string_view kSeparator = "{}";
constexpr std::size_t kStandaloneCount = 12;
constexpr std::size_t kFewestArguments = 7;
constexpr std::size_t kLongestShown = 100;

// What an argument is called that is converted.
constexpr const char* kNames[] = {"", "",           "table id", "method",   "",
                                  "", "status key", "",         "platform", "instance"};

template <class Result>
Result Converted(const CommandLine& line, ArgumentIndex index, Result (*convert)(const platform::Value&)) {
    const std::string& argument = line.At(index);
    return platform::NamingPlace([&] { return convert(argument); },
                                 [&] {
                                     return "argument " + std::to_string(index) + ", the " + kNames[index] +
                                            ", is \"" + platform::Printable(argument, kLongestShown) + "\"";
                                 });
}

[[noreturn]] void RaiseInvalid(runtime::MessageCatalog& messages, std::string_view label,
                               const std::string& argument, const char* source) {
    throw platform::RuntimeError(kInvalidArgument, source,
                                 messages.GetI18nText(label, {platform::Printable(argument)}) +
                                     messages.GetI18nText("SLBL0026") + "\r\n");
}

// Weak on purpose: the comparison converts the argument first, so that a text that is not a number fails
// there with the conversion's own error, and any number passes.
void RequireOneOrTwo(runtime::MessageCatalog& messages, std::string_view label, const CommandLine& line,
                     ArgumentIndex index) {
    const platform::Double number = Converted(line, index, platform::ToDouble);
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

std::string CommandLine::Trimmed(ArgumentIndex index) const {
    return std::string(platform::Trim(At(index), " "));
}

void CommandLine::Validate(runtime::MessageCatalog& messages) const {
    if (Count() < kFewestArguments)
        RaiseInvalid(messages, "SLBL0232", platform::Masked(text_), "iQRX Data Copy - Start");
    RequireOneOrTwo(messages, "SLBL0235", *this, kSyncMethod);
    if (!platform::IsNumeric(At(kStatusKey)))
        RaiseInvalid(messages, "SLBL0237", At(kStatusKey), "iQrx Data Copy - Start");
    RequireOneOrTwo(messages, "SLBL0234", *this, kPlatform);
}

control::CopyRequest CommandLine::Request(runtime::MessageCatalog& messages, control::Settings& settings) const {
    Validate(messages);
    control::CopyRequest request;
    settings.standalone = Count() == kStandaloneCount;
    const auto statusKey = Converted(*this, kStatusKey, platform::ToLong);
    const bool hasKey = Converted(*this, kStatusKey, platform::ToDouble) != 0;
    if (hasKey && !settings.standalone) request.statusKey = statusKey;
    if (platform::IsNumeric(At(kInstance)))
        settings.currentInstanceNumber = Converted(*this, kInstance, platform::ToInteger);
    settings.treeGroup = Trimmed(kTreeGroup);
    const auto table = platform::IsNumeric(At(kTableId)) ? Converted(*this, kTableId, platform::ToDouble) : 0;
    if (table == control::kCalendarOfOne || table == control::kCalendarOfEmployee)
        request.calendarParameter = At(kCalendarParameter);
    request.connectionString = Trimmed(kConnectionString);
    request.localDatabase = Trimmed(kDatabaseName);
    request.logFilePath = Trimmed(kLogDirectory);
    request.busComponent = Trimmed(kRunParameter);
    request.databasePlatform = Converted(*this, kPlatform, platform::ToInteger);
    return request;
}

void CommandLine::AddTableAndMethod(control::CopyRequest& request) const {
    request.syncMethod = Converted(*this, kSyncMethod, platform::ToInteger);
    request.tableId = Converted(*this, kTableId, platform::ToInteger);
}

}  // namespace iqrx::hosting
