// The machine that the tests run on, and one whose clock, name and disk a test decides on.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/error.h"
#include "platform/host.h"
#include "platform/machine.h"

namespace iqrx::testing {

struct JournalMachine {
    virtual ~JournalMachine() = default;
    virtual platform::Host& Host() = 0;
    virtual platform::TextFiles& Files() = 0;
};
std::unique_ptr<JournalMachine> OpenJournalMachine();  // this system's own

// Files are the machine's own.
class FakeHost final : public platform::Host {
public:
    explicit FakeHost(platform::Host& real) : real_(real) {}

    platform::ProcessIdentity Self() const override { return self; }
    platform::Date LocalTime(std::chrono::system_clock::time_point moment) const override {
        const auto utc = std::chrono::floor<std::chrono::seconds>(moment.time_since_epoch()).count();
        return {utc + 3600};
    }
    std::chrono::seconds Uptime() const override { return uptime; }
    std::string Boot() const override { return boot; }
    std::unique_ptr<platform::HeldFile> TryHold(const std::filesystem::path& file) override;
    bool IsHeld(const std::filesystem::path& file) override { return real_.IsHeld(file); }
    void Replace(const std::filesystem::path& file, std::string_view text) override {
        RaiseWhenFull(file);
        real_.Replace(file, text);
    }
    void RaiseWhenFull(const std::filesystem::path& file) const {
        if (diskIsFull)
            throw platform::RuntimeError(platform::kPathFileAccess, platform::kProgram,
                                         file.string() + ": No space left on device");
    }

    platform::ProcessIdentity self{4711, "anna", "sched1", "tty1"};
    std::chrono::seconds uptime{1000};
    std::string boot = "boot-1";
    bool diskIsFull = false;

private:
    platform::Host& real_;
};

}  // namespace iqrx::testing
