// What the machine tells of itself and of this process, the files by which its processes find each other, and
// who wants this one to end.
// Members that touch files raise RuntimeError, whose text names file and cause.
#pragma once

#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/value.h"

namespace iqrx::platform {

struct ProcessIdentity {
    long pid = 0;
    std::string user = {}, host = {}, terminal = {};  // terminal: "tty1", "pts/0"; empty without one
    bool operator==(const ProcessIdentity&) const = default;
};

// A file that this process holds until the object goes; whatever ends the process lets go of it, too.
class HeldFile {
public:
    virtual ~HeldFile() = default;                  // lets go; the file stays
    virtual bool IsNew() const = 0;                 // it was not there before
    virtual void Write(std::string_view text) = 0;  // in place of what the file holds
    // Lets go of the file and removes it, so that nobody finds it free and stale. Raises nothing: a file that
    // cannot be removed stays, and is free.
    virtual void Remove() noexcept = 0;
};

// Safe to use in several threads at once.
class Host {
public:
    virtual ~Host() = default;

    virtual ProcessIdentity Self() const = 0;
    virtual Date LocalTime(std::chrono::system_clock::time_point moment) const = 0;
    int UtcOffsetMinutes() const {  // now, summer time included; 60 an hour east of Greenwich
        const auto now = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
        return static_cast<int>((LocalTime(now).secondsSince1970 - now.time_since_epoch().count()) / 60);
    }
    virtual std::chrono::seconds Uptime() const = 0;  // does not jump when the clock is set; counts sleep
    virtual std::string Boot() const = 0;  // another text after every start of the machine; empty: unknown

    // Creates the file when it is missing. Null when somebody holds it, this process included. Others can
    // read a held file. A question by IsHeld never makes it fail.
    virtual std::unique_ptr<HeldFile> TryHold(const std::filesystem::path& file) = 0;
    virtual bool IsHeld(const std::filesystem::path& file) = 0;  // by any process; creates nothing
    // By rename: whoever reads finds the old text or the new one, after a power cut, too, and never a part.
    virtual void Replace(const std::filesystem::path& file, std::string_view text) = 0;
};

// Whether somebody asked this process to end, or how far it is.
class StopRequest {
public:
    virtual ~StopRequest() = default;
    // Who asked, as an operator knows it ("SIGINT", "Ctrl-C", "shutdown"); none while nobody did. Any thread
    // may call this, as often as it likes.
    virtual std::optional<std::string> Asked() const = 0;
    // How often somebody has asked how far the work is; 0 forever on a system that has no way to ask.
    virtual int TimesAskedHowFar() const { return 0; }
};

}  // namespace iqrx::platform
