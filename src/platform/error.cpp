#include "platform/error.h"

#include <new>

namespace iqrx::platform {

namespace {

const char* DescriptionOf(ErrorNumber number) {
    switch (number) {
        case kInvalidProcedureCall:
            return "Invalid procedure call or argument";
        case kOverflow:
            return "Overflow";
        case kSubscriptOutOfRange:
            return "Subscript out of range";
        case kTypeMismatch:
            return "Type mismatch";
        case kFileNotFound:
            return "File not found";
        case kDeviceIoError:
            return "Device I/O error";
        case kPathFileAccess:
            return "Path/File access error";
        case kPathNotFound:
            return "Path not found";
        case kObjectNotSet:
            return "Object variable or With block variable not set";
        case kInvalidUseOfNull:
            return "Invalid use of Null";
        case kCannotCreateObject:
            return "ActiveX component can't create object";
        case kNoSuchMember:
            return "Object doesn't support this property or method";
        case kWrongArgumentCount:
            return "Wrong number of arguments or invalid property assignment";
        case kDatabaseError:
            return "Database error";
    }
    return "Application-defined or object-defined error";
}

constexpr const char* kProgram = "iQRXyQRXSync";

}  // namespace

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
