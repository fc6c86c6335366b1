// Requests that arrive through COM. The process has had no command line: the tables' group comes from the
// settings file beside the program, and the catalog is loaded by the requests, from their own database.
#pragma once

#include <optional>
#include <tuple>

#include "control/cls_data_copy.h"
#include "platform/error.h"
#include "platform/windows/com.h"

namespace iqrx::hosting::windows {

control::CopyRequest RequestOf(BSTR connectionString, BSTR localDatabase, short tableId, short syncMethod,
                               BSTR logFilePath, BSTR busComponent, LONG databasePlatform = 1);

class ComRequests {
public:
    // Reads the settings file of the program's folder.
    explicit ComRequests(control::Process& process);

    control::Process& Process() { return process_; }

    // The time in which an object's request is under way; a process copies one table at a time. The
    // constructor raises RuntimeError while another request is under way.
    class Turn {
    public:
        Turn(ComRequests& requests, const void* object);
        ~Turn() { requests_.running_ = nullptr; }
        Turn(const Turn&) = delete;
        Turn& operator=(const Turn&) = delete;

    private:
        ComRequests& requests_;
    };
    bool Runs(const void* object) const { return running_ == object; }

    // Loads the catalog unless the one at hand is that of the request's connection string, database and
    // platform. Raises RuntimeError.
    void LoadCatalogOf(const control::CopyRequest& request);

    // What keeps a request from becoming a run, which would have a log of its own.
    void LogRequest(const control::CopyRequest& request, const platform::RuntimeError& error);
    // What fails in a call without a request: to the run log if there has been a run, else to the request
    // error log of the default directory.
    void LogCall(const platform::RuntimeError& error);

private:
    using Origin =
        std::tuple<std::string, std::string, platform::Long>;  // connection string, database, platform

    control::Process& process_;
    std::string settingsLack_;             // what is wrong with the settings file, if anything
    std::optional<Origin> catalogOrigin_;  // of the catalog at hand
    const void* running_ = nullptr;        // the object whose request is under way
};

}  // namespace iqrx::hosting::windows
