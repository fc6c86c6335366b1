// The run-time error: number, source and description, as the automation run-time raises it.
#pragma once

#include <cstdint>
#include <exception>
#include <string>
#include <utility>

namespace iqrx::platform {

inline constexpr const char* kProgram = "iQRXyQRXSync";  // the source of the run-time's own errors

enum ErrorNumber : std::int32_t {
    kInvalidProcedureCall = 5,
    kOverflow = 6,
    kSubscriptOutOfRange = 9,
    kTypeMismatch = 13,
    kFileNotFound = 53,
    kDeviceIoError = 57,
    kPathFileAccess = 75,
    kPathNotFound = 76,
    kObjectNotSet = 91,
    kInvalidUseOfNull = 94,
    kCannotCreateObject = 429,
    kNoSuchMember = 438,
    kWrongArgumentCount = 450,
    kDatabaseError = -2147467259,  // what database providers say when they have no closer number
};

class RuntimeError : public std::exception {
public:
    RuntimeError(std::int32_t number, std::string source, std::string description)
        : number(number), source(std::move(source)), description(std::move(description)) {}

    const char* what() const noexcept override { return description.c_str(); }

    std::int32_t number;
    std::string source;
    std::string description;
};

const char* DescriptionOf(ErrorNumber number);  // the run-time's own text
// Raises it; the source is the program's name.
[[noreturn]] void RaiseRuntimeError(ErrorNumber number);
// The same, followed by what the reader needs to find the place.
[[noreturn]] void RaiseRuntimeError(ErrorNumber number, const std::string& detail);

// The error that is being handled, whatever its type, as a run-time error. Call inside a catch block only.
RuntimeError CurrentError();

}  // namespace iqrx::platform
