// The command line: one text, its arguments separated by "{}".
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "control/process.h"

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
    // As given, and without the blanks at its ends. Both raise "subscript out of range" for an argument that is missing.
    const std::string& At(ArgumentIndex index) const;
    std::string Trimmed(ArgumentIndex index) const;
    // As a number. Raise the conversion's error, which names the argument and what it holds.
    platform::Double Number(ArgumentIndex index) const;
    platform::Integer Integer(ArgumentIndex index) const;
    platform::Long Long(ArgumentIndex index) const;
    // The log directory, empty when the command line has none: usable before the arguments are validated.
    std::string LogDirectory() const;

    // Raises the error of the first argument that fails its check.
    void Validate(runtime::MessageCatalog& messages) const;
    void Apply(control::Settings& settings) const;

private:
    template <class Result>
    Result Converted(ArgumentIndex index, Result (*convert)(const platform::Value&)) const;

    std::string text_;
    std::vector<std::string> arguments_;
};

// Numbers of the errors that the request entry raises itself.
inline constexpr std::int32_t kInvalidArgument = 1001;
inline constexpr std::int32_t kNoInstanceObject = 1002;

}  // namespace iqrx::hosting
