// The command line: one text, its arguments separated by "{}".
#pragma once

#include <string>
#include <vector>

#include "control/cls_data_copy.h"

namespace iqrx::hosting {

// The places of the arguments, 0 first.
enum ArgumentIndex : std::size_t {
    kConnectionString = 0,
    kDatabaseName = 1,
    kTableId = 2,
    kSyncMethod = 3,
    kLogDirectory = 4,
    kRunParameter = 5,
    kStatusKey = 6,
    kCalendarParameter = 7,
    kPlatform = 8,
    kInstance = 9,
    kTreeGroup = 10,
};

class CommandLine {
public:
    explicit CommandLine(std::string text);

    std::size_t Count() const { return arguments_.size(); }
    // As given. Raises "subscript out of range" for an argument that is missing.
    const std::string& At(ArgumentIndex index) const;
    // As given, empty when the command line has none: usable before the arguments are validated.
    std::string LogDirectory() const { return Count() > kLogDirectory ? At(kLogDirectory) : std::string(); }

    // Validates the arguments, gives the settings what they say of the process and returns the request, its
    // table and method still missing. Raises the error of the first argument that fails.
    control::CopyRequest Request(runtime::MessageCatalog& messages, control::Settings& settings) const;
    // A table or method that does not convert is an error of a service that has started: they come last,
    // after the event log's first line.
    void AddTableAndMethod(control::CopyRequest& request) const;

private:
    void Validate(runtime::MessageCatalog& messages) const;
    std::string Trimmed(ArgumentIndex index) const;

    std::string text_;
    std::vector<std::string> arguments_;
};

// Numbers of the errors that the request entry raises itself.
inline constexpr std::int32_t kInvalidArgument = 1001;
inline constexpr std::int32_t kNoInstanceObject = 1002;

}  // namespace iqrx::hosting
