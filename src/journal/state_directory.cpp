#include "journal/state_directory.h"

#include <chrono>
#include <system_error>
#include <thread>

#include "journal/files.h"
#include "platform/connection_string.h"
#include "platform/error.h"
#include "platform/number.h"
#include "platform/text.h"

namespace iqrx::journal {

namespace {

constexpr int kVersion = 1;

[[noreturn]] void Raise(const std::string& problem) {
    throw platform::RuntimeError(platform::kPathFileAccess, platform::kProgram, problem);
}

// One process writes for milliseconds: what takes longer is stopped, and must not stop this one.
std::unique_ptr<platform::HeldFile> WaitToHold(platform::Host& host, const std::filesystem::path& file) {
    constexpr std::chrono::seconds kLimit{10};
    const auto end = std::chrono::steady_clock::now() + kLimit;
    for (;;) {
        if (auto held = host.TryHold(file)) return held;
        if (std::chrono::steady_clock::now() > end)
            Raise(platform::Utf8(file) + ": another process has held it for 10 seconds");
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

void MakeDirectory(const std::filesystem::path& directory) {
    std::error_code error;
    std::filesystem::create_directory(directory, error);  // it may exist
    if (error) Raise(platform::Utf8(directory) + ": " + error.message());
}

void RequireKnownVersion(const std::filesystem::path& file) {
    const auto text = ReadText(file);
    if (!text) return;
    const auto version = platform::NumberFrom<int>(platform::Trim(*text));
    if (!version) Raise(platform::Utf8(file) + ": it does not hold a number");
    if (*version > kVersion)
        Raise(platform::Utf8(file) + ": made by a newer version (" + std::to_string(*version) +
              "; this program knows " + std::to_string(kVersion) + ")");
}

}  // namespace

std::filesystem::path StateDirectoryOf(const std::string& connectionString, const std::string& logDirectory) {
    try {
        const platform::ConnectionString connection(connectionString);
        const std::string file = connection.Find("Data Source").value_or("");
        if (platform::EqualIgnoringCase(connection.Find("Provider").value_or(""), "SQLite") && !file.empty())
            return platform::Path(file + ".state");
    } catch (const platform::RuntimeError&) {
        // The connection says so when it is opened.
    }
    const std::string_view directory = platform::Trim(logDirectory);
    return platform::Path(directory.empty() ? "." : directory) / ".qrx";
}

StateDirectory::StateDirectory(platform::Host& host, platform::TextFiles& files,
                               std::filesystem::path directory, Use use, DatabaseId database)
    : host_(host), files_(files), directory_(std::move(directory)), database_(std::move(database)) {
    try {
        Open(use);
    } catch (...) {
        usable_ = writable_ = false;
        Note("the state directory cannot be used: " + platform::CurrentError().description);
    }
}

void StateDirectory::Open(Use use) {
    std::error_code error;
    const auto status = std::filesystem::status(directory_, error);
    const bool exists = status.type() != std::filesystem::file_type::not_found;
    if (exists && error) Raise(platform::Utf8(directory_) + ": " + error.message());
    if (exists && !is_directory(status)) Raise(platform::Utf8(directory_) + ": it is not a directory");
    if (exists) RequireKnownVersion(directory_ / "VERSION");
    if (exists) RequireOwn();
    usable_ = true;
    writable_ = use == Use::Writing;
    if (!writable_) return;
    writable_ = Write([this] { Make(); });
    RequireOwn();  // another program may have made it meanwhile
}

void StateDirectory::RequireOwn() const {
    if (!database_.IsKnown() || database_.Owns(directory_)) return;
    const DatabaseId owner = ReadDatabaseId(ReadText(directory_ / "DATABASE").value_or(""));
    if (!owner.MayBe(database_))
        Raise(platform::Utf8(directory_) + " belongs to another database: " + owner.Shown());
}

void StateDirectory::Make() {
    MakeDirectory(Sheets());
    MakeDirectory(Undo());
    if (!std::filesystem::exists(directory_ / "VERSION"))
        host_.Replace(directory_ / "VERSION", std::to_string(kVersion) + '\n');
    if (!database_.IsKnown()) return;
    const auto owner = ReadText(directory_ / "DATABASE");
    if (!owner || (database_.Owns(directory_) && *owner != database_.Text()))
        host_.Replace(directory_ / "DATABASE", database_.Text());
}

std::string StateDirectory::Problem() const {
    const std::lock_guard guard(mutex_);
    return problem_;
}

void StateDirectory::Note(const std::string& problem) {
    const std::lock_guard guard(mutex_);
    if (problem_.empty()) problem_ = problem;
}

bool StateDirectory::Write(const std::function<void()>& change) {
    try {
        WriteOrRaise(change);
        return true;
    } catch (...) {
        Note("the state directory cannot be written: " + platform::CurrentError().description);
        return false;
    }
}

void StateDirectory::WriteOrRaise(const std::function<void()>& change) {
    if (!writable_) Raise(usable_ ? platform::Utf8(directory_) + ": opened for reading" : Problem());
    MakeDirectory(directory_);
    const auto held = WaitToHold(host_, directory_ / "lock");
    change();
}

}  // namespace iqrx::journal
