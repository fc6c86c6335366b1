#include "platform/posix/machine.h"

#include <signal.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <ctime>
#include <system_error>

#include "platform/date.h"
#include "platform/error.h"
#include "platform/posix/descriptor.h"
#include "platform/printable.h"

namespace iqrx::platform::posix {

namespace {

std::string LastError() { return std::system_category().message(errno); }

// A reader that leaves a FIFO must end a call with an error, not the process with a signal.
class BrokenPipesIgnored {
public:
    BrokenPipesIgnored() {
        sigemptyset(&brokenPipe_);
        sigaddset(&brokenPipe_, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &brokenPipe_, &before_);
    }
    ~BrokenPipesIgnored() {
        const timespec noWait{};
        if (sigismember(&before_, SIGPIPE) == 0) sigtimedwait(&brokenPipe_, nullptr, &noWait);
        pthread_sigmask(SIG_SETMASK, &before_, nullptr);
    }
    BrokenPipesIgnored(const BrokenPipesIgnored&) = delete;
    BrokenPipesIgnored& operator=(const BrokenPipesIgnored&) = delete;

private:
    sigset_t brokenPipe_, before_;
};

// Waits for the reader of a FIFO, whatever signal arrives meanwhile.
int OpenForAppending(const std::filesystem::path& file) {
    for (;;) {
        const int descriptor =
            open(file.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, kOwnerWritesGroupReads);
        if (descriptor >= 0 || errno != EINTR) return descriptor;
    }
}

std::string CallLine(std::string_view member, std::span<const Argument> arguments) {
    std::string json;
    for (const Argument& argument : arguments)
        json += (json.empty() ? "" : ",") + JsonValue(argument.value, IsoTime);
    return "{\"call\":" + JsonText(member) + ",\"args\":[" + json + "]}";
}

class InstanceLines {
public:
    explicit InstanceLines(const std::filesystem::path& file)
        : name_(file.string()), descriptor_(OpenForAppending(file)) {
        if (!descriptor_)
            RaiseRuntimeError(kCannotCreateObject,
                              "the instance file " + name_ + " cannot be written: " + LastError());
    }

    void Append(std::string line) {
        line += '\n';
        const BrokenPipesIgnored guard;
        if (!descriptor_.Write(line))
            RaiseRuntimeError(kDeviceIoError, "the instance file " + name_ + ": " + LastError());
    }

private:
    std::string name_;
    Descriptor descriptor_;
};

class Instance final : public Object {
public:
    explicit Instance(std::shared_ptr<InstanceLines> lines) : lines_(std::move(lines)) {}

    Value Invoke(std::string_view member, std::span<Argument> arguments) override {
        constexpr std::array<std::string_view, 4> kMembers{"writeToMessageBox", "WriteToAlertBox",
                                                           "UpdateSyncStatus", "UpdateStatusByTable"};
        if (std::ranges::find(kMembers, member) == kMembers.end())
            RaiseRuntimeError(kNoSuchMember, std::string(member));
        lines_->Append(CallLine(member, arguments));
        return {};
    }

private:
    std::shared_ptr<InstanceLines> lines_;
};

class InstanceRegistry final : public Object {
public:
    explicit InstanceRegistry(std::shared_ptr<InstanceLines> lines) : lines_(std::move(lines)) {}

    Value Invoke(std::string_view member, std::span<Argument> arguments) override {
        if (member != "getInstance") RaiseRuntimeError(kNoSuchMember, std::string(member));
        lines_->Append(CallLine(member, arguments));
        return ObjectRef(std::make_shared<Instance>(lines_));
    }

    void Set(std::string_view member, const Value& value) override {
        if (member != "CurrentInstanceNumber") RaiseRuntimeError(kNoSuchMember, std::string(member));
        lines_->Append("{\"set\":" + JsonText(member) + ",\"value\":" + JsonValue(value, IsoTime) + "}");
    }

private:
    std::shared_ptr<InstanceLines> lines_;
};

class InstanceRegistries final : public ObjectFactory {
public:
    explicit InstanceRegistries(std::optional<std::filesystem::path> file) : file_(std::move(file)) {}

    ObjectRef CreateObject(std::string_view progId) override {
        if (!file_ || progId != "iQRXyInstHandler.InstanceHandle")
            RaiseRuntimeError(kCannotCreateObject, std::string(progId));
        if (!lines_) lines_ = std::make_shared<InstanceLines>(*file_);
        return std::make_shared<InstanceRegistry>(lines_);
    }

private:
    const std::optional<std::filesystem::path> file_;
    std::shared_ptr<InstanceLines> lines_;
};

}  // namespace

std::unique_ptr<ObjectFactory> CreateInstanceRegistries(std::optional<std::filesystem::path> file) {
    return std::make_unique<InstanceRegistries>(std::move(file));
}

}  // namespace iqrx::platform::posix
