// Has a process handle Ctrl-Break: ctrl_break PID. The keys of its console would have the system start the
// routine that calls its handlers; a process without a console is sent nothing by keys.
#include <windows.h>

#include <cstdlib>
#include <iostream>

namespace {

int Fail(const char* call) {
    const DWORD error = GetLastError();
    std::cerr << call << ": " << error << std::endl;
    return 1;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) return 64;
    constexpr DWORD kAccess = PROCESS_CREATE_THREAD | PROCESS_QUERY_INFORMATION | PROCESS_VM_OPERATION |
                              PROCESS_VM_READ | PROCESS_VM_WRITE;
    const HANDLE process = OpenProcess(kAccess, FALSE, static_cast<DWORD>(std::atoi(argv[1])));
    if (process == nullptr) return Fail("OpenProcess");
    // The system's libraries lie at the same place in every process.
    const FARPROC routine = GetProcAddress(GetModuleHandleA("kernel32"), "CtrlRoutine");
    if (routine == nullptr) return Fail("GetProcAddress");
    const HANDLE thread = CreateRemoteThread(
        process, nullptr, 0, reinterpret_cast<LPTHREAD_START_ROUTINE>(reinterpret_cast<void*>(routine)),
        reinterpret_cast<void*>(static_cast<ULONG_PTR>(CTRL_BREAK_EVENT)), 0, nullptr);
    if (thread == nullptr) return Fail("CreateRemoteThread");
    constexpr DWORD kPatienceMilliseconds = 30'000;
    return WaitForSingleObject(thread, kPatienceMilliseconds) == WAIT_OBJECT_0 ? 0
                                                                               : Fail("WaitForSingleObject");
}
