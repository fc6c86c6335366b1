#include "platform/error.h"

#include <algorithm>
#include <array>
#include <new>

namespace iqrx::platform {

namespace {

struct Description {
    ErrorNumber number;
    const char* text;
};

constexpr std::array kDescriptions{
    Description{kInvalidProcedureCall, "Invalid procedure call or argument"},
    Description{kOverflow, "Overflow"},
    Description{kSubscriptOutOfRange, "Subscript out of range"},
    Description{kTypeMismatch, "Type mismatch"},
    Description{kFileNotFound, "File not found"},
    Description{kDeviceIoError, "Device I/O error"},
    Description{kPathFileAccess, "Path/File access error"},
    Description{kPathNotFound, "Path not found"},
    Description{kObjectNotSet, "Object variable or With block variable not set"},
    Description{kInvalidUseOfNull, "Invalid use of Null"},
    Description{kCannotCreateObject, "ActiveX component can't create object"},
    Description{kNoSuchMember, "Object doesn't support this property or method"},
    Description{kWrongArgumentCount, "Wrong number of arguments or invalid property assignment"},
    Description{kDatabaseError, "Database error"},
};

}  // namespace

const char* DescriptionOf(ErrorNumber number) {
    const auto found = std::ranges::find(kDescriptions, number, &Description::number);
    return found == kDescriptions.end() ? "Application-defined or object-defined error" : found->text;
}

void RaiseRuntimeError(ErrorNumber number) { throw RuntimeError(number, kProgram, DescriptionOf(number)); }

void RaiseRuntimeError(ErrorNumber number, const std::string& detail) {
    throw RuntimeError(number, kProgram, std::string(DescriptionOf(number)) + ": " + detail);
}

RuntimeError CurrentError() {
    try {
        throw;
    } catch (const RuntimeError& error) {
        return error;
    } catch (const std::bad_alloc&) {
        return {7, kProgram, "Out of memory"};
    } catch (const std::exception& error) {
        return {kInvalidProcedureCall, kProgram, error.what()};
    } catch (...) {
        return {kInvalidProcedureCall, kProgram, "Unexpected error"};
    }
}

}  // namespace iqrx::platform
