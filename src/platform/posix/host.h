// The host of a POSIX machine. Files are held by flock(2): it belongs to an open file and not to a process,
// so that two threads exclude each other as two processes do, and flock(1) and lslocks(8) show who holds a
// sheet. A question whether a file is held takes a shared lock for a moment; who wants the file for itself
// tells such a question from a holder and tries again.
#pragma once

#include <atomic>

#include "platform/host.h"

namespace iqrx::platform::posix {

class PosixHost final : public Host {
public:
    ProcessIdentity Self() const override;
    int UtcOffsetMinutes() const override;
    Date LocalTime(std::chrono::system_clock::time_point moment) const override;
    std::chrono::seconds Uptime() const override;
    std::string Boot() const override;
    std::unique_ptr<HeldFile> TryHold(const std::filesystem::path& file) override;
    bool IsHeld(const std::filesystem::path& file) override;
    void Replace(const std::filesystem::path& file, std::string_view text) override;

private:
    std::filesystem::path FreshName(const std::filesystem::path& file);  // beside the file

    std::atomic<int> names_ = 0;
};

}  // namespace iqrx::platform::posix
