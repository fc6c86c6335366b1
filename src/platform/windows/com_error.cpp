#include "platform/windows/com_error.h"

#include <array>
#include <cwchar>
#include <string>

#include "platform/printable.h"

namespace iqrx::platform::windows {

namespace {

constexpr std::int32_t kOutOfMemory = 7, kServerUnavailable = 462;

struct Pair {
    HRESULT result;
    std::int32_t number;
};

// The codes that have a run-time number of their own. The first of a number is the one that goes out.
constexpr std::array<Pair, 24> kPairs{{
    {DISP_E_TYPEMISMATCH, kTypeMismatch},
    {DISP_E_BADVARTYPE, kTypeMismatch},
    {DISP_E_OVERFLOW, kOverflow},
    {DISP_E_BADINDEX, kSubscriptOutOfRange},
    {DISP_E_MEMBERNOTFOUND, kNoSuchMember},
    {DISP_E_UNKNOWNNAME, kNoSuchMember},
    {E_NOINTERFACE, kNoSuchMember},
    {DISP_E_BADPARAMCOUNT, kWrongArgumentCount},
    {E_INVALIDARG, kInvalidProcedureCall},
    {E_OUTOFMEMORY, kOutOfMemory},
    {REGDB_E_CLASSNOTREG, kCannotCreateObject},
    {CO_E_CLASSSTRING, kCannotCreateObject},
    {CO_E_APPNOTFOUND, kCannotCreateObject},
    {CO_E_SERVER_EXEC_FAILURE, kCannotCreateObject},
    {CLASS_E_CLASSNOTAVAILABLE, kCannotCreateObject},
    {HRESULT_FROM_WIN32(RPC_S_SERVER_UNAVAILABLE), kServerUnavailable},
    {HRESULT_FROM_WIN32(RPC_S_CALL_FAILED), kServerUnavailable},
    {HRESULT_FROM_WIN32(RPC_S_CALL_FAILED_DNE), kServerUnavailable},
    {HRESULT_FROM_WIN32(ERROR_BROKEN_PIPE), kServerUnavailable},
    {RPC_E_DISCONNECTED, kServerUnavailable},
    {RPC_E_SERVER_DIED, kServerUnavailable},
    {RPC_E_SERVER_DIED_DNE, kServerUnavailable},
    {CO_E_OBJNOTCONNECTED, kServerUnavailable},
    {E_POINTER, kObjectNotSet},
}};

constexpr std::int32_t kRunTimeErrors = static_cast<std::int32_t>(0x800A0000);

std::int32_t NumberOf(HRESULT result) {
    for (const Pair& pair : kPairs)
        if (pair.result == result) return pair.number;
    if ((result & static_cast<std::int32_t>(0xFFFF0000)) == kRunTimeErrors) return result & 0xFFFF;
    return result;
}

// Windows' text for a code, without its line end.
std::string SystemText(HRESULT result) {
    std::array<wchar_t, 512> buffer{};
    DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                                  static_cast<DWORD>(result), 0, buffer.data(), buffer.size(), nullptr);
    while (length > 0 && std::wcschr(L"\r\n ", buffer[length - 1]) != nullptr) --length;
    if (length > 0) return Utf8({buffer.data(), length});
    std::array<wchar_t, 40> code{};
    const int digits = std::swprintf(code.data(), code.size(), L"Automation error 0x%08lX",
                                     static_cast<unsigned long>(result));
    return Utf8({code.data(), static_cast<std::size_t>(digits)});
}

std::string OwnText(std::int32_t number, HRESULT result) {
    if (number == kServerUnavailable) return "The remote server machine does not exist or is unavailable";
    if (number == result || number == kOutOfMemory) return SystemText(result);
    return DescriptionOf(static_cast<ErrorNumber>(number));
}

std::string Taken(BSTR& text) {
    std::string taken = FromBstr(text);
    SysFreeString(std::exchange(text, nullptr));
    return taken;
}

}  // namespace

RuntimeError ErrorOfCall(HRESULT result, EXCEPINFO* exception, std::string_view context) {
    std::string source(kProgram), description;
    if (exception != nullptr && result == DISP_E_EXCEPTION) {
        if (exception->pfnDeferredFillIn != nullptr) exception->pfnDeferredFillIn(exception);
        if (std::string named = Printable(Taken(exception->bstrSource)); !named.empty())
            source = std::move(named);
        description = Printable(Taken(exception->bstrDescription));
        Taken(exception->bstrHelpFile);
        result = exception->wCode != 0 ? kRunTimeErrors | exception->wCode : exception->scode;
        if (SUCCEEDED(result)) result = E_FAIL;  // an exception that names no code
    }
    const std::int32_t number = NumberOf(result);
    if (description.empty())
        description = OwnText(number, result).append(context.empty() ? "" : ": ").append(context);
    return {number, std::move(source), std::move(description)};
}

HRESULT ResultOf(const RuntimeError& error) {
    for (const Pair& pair : kPairs)
        if (pair.number == error.number) return pair.result;
    if (error.number > 0 && error.number <= 0xFFFF) return kRunTimeErrors | error.number;
    return error.number < 0 ? error.number : E_FAIL;
}

void FillException(const RuntimeError& error, EXCEPINFO& exception) {
    exception = {};
    exception.scode = ResultOf(error);
    exception.bstrSource = Bstr(error.source).Detach();
    exception.bstrDescription = Bstr(error.description).Detach();
}

HRESULT Report(const RuntimeError& error) {
    ComRef<ICreateErrorInfo> creation;
    if (SUCCEEDED(CreateErrorInfo(creation.Put()))) {
        creation->SetSource(Bstr(error.source).Get());
        creation->SetDescription(Bstr(error.description).Get());
        if (const auto information = creation.As<IErrorInfo>()) SetErrorInfo(0, information.Get());
    }
    return ResultOf(error);
}

}  // namespace iqrx::platform::windows
