// How long a process that COM started lives: until its last object and its last lock go.
#pragma once

#include "platform/windows/com.h"

namespace iqrx::hosting::windows {

// Counts on the thread that created it and ends that thread's message loop when nothing is left.
class ServerLifetime {
public:
    void Hold() { CoAddRefServerProcess(); }
    void Release() {
        // At zero COM also turns new clients away, so that none gets a server that is about to leave.
        if (CoReleaseServerProcess() == 0) PostThreadMessageW(thread_, WM_QUIT, 0, 0);
    }

private:
    DWORD thread_ = GetCurrentThreadId();
};

// Holds the process for as long as it lives.
class ServerHold {
public:
    explicit ServerHold(ServerLifetime& lifetime) : lifetime_(lifetime) { lifetime_.Hold(); }
    ~ServerHold() { lifetime_.Release(); }
    ServerHold(const ServerHold&) = delete;
    ServerHold& operator=(const ServerHold&) = delete;

private:
    ServerLifetime& lifetime_;
};

}  // namespace iqrx::hosting::windows
