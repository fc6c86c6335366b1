// The request handler: fetches the caller's instance object, runs the request and relays its events to that object.
#pragma once

#include <memory>
#include <string>

#include "control/cls_data_copy.h"

namespace iqrx::hosting {

class clsDataCopyHandler : public control::DataCopyEvents {
public:
    // Borrows both; `listener` may be null and hears each event before it is relayed.
    explicit clsDataCopyHandler(control::Process& process, control::DataCopyEvents* listener = nullptr);

    // Runs one request. Raises nothing: what fails before the run starts goes to the request error log.
    void HandleDataCopy(const std::string& ConnString, const std::string& DBName, platform::Integer TableID,
                        platform::Integer SyncMethod, const std::string& LogDirectory,
                        const std::string& BusComponent, platform::Long DatabasePlatform);

    // What the last request came to; Error also when it never became a run.
    control::Outcome LastOutcome() const { return outcome_; }

    void DataCopyAlreadyInProgress(platform::Date iTime, platform::Integer iTableID) override;
    void DataCopyComplete(platform::Date iTime, platform::Integer iTableID, platform::Long icount,
                          platform::Long ucount, platform::Long dcount) override;
    void DataCopydone() override;
    void DataCopyError(platform::Date iTime, platform::Integer iTableID, platform::Integer ieNumber,
                       const std::string& ieMessage) override;
    void DataCopyStarted(platform::Date iTime, platform::Integer iTableID) override;

private:
    // What the scheduler hears of a table; an id that the catalog has no room for stands for itself.
    struct TableNames {
        std::string text, erpId, name;
    };

    TableNames NamesOf(int textId) const;
    void FetchInstanceObject();
    void Handle(const control::CopyRequest& request);
    platform::Object& Instance();
    std::string TextAbout(std::string_view label, int textId);
    void RelayStatus(int textId, platform::Integer status);

    control::Process& process_;
    control::DataCopyEvents* listener_;
    std::unique_ptr<control::clsDataCopy> dataCopyJob_;
    platform::ObjectRef instanceObject_;
    control::Outcome outcome_ = control::Outcome::None;
};

}  // namespace iqrx::hosting
