// The host of a Windows machine. A file is held by its share mode, so that there is no moment at which a new one is
// there and not held, and a lock far after its text tells so to those who ask, without excluding anybody.
#pragma once

#include <atomic>

#include "platform/host.h"

namespace iqrx::platform::windows {

class WindowsHost final : public Host {
public:
    ProcessIdentity Self() const override;  // terminal: the session's name, "Console" or "RDP-Tcp#3"
    int UtcOffsetMinutes() const override;
    Date LocalTime(std::chrono::system_clock::time_point moment) const override;
    std::chrono::seconds Uptime() const override;
    std::string Boot() const override;  // the number of the start; empty where the system counts none
    std::unique_ptr<HeldFile> TryHold(const std::filesystem::path& file) override;
    bool IsHeld(const std::filesystem::path& file) override;
    void Replace(const std::filesystem::path& file, std::string_view text) override;

private:
    std::atomic<int> names_ = 0;
};

}  // namespace iqrx::platform::windows
