// The request handler: fetches the caller's instance object, runs the request and relays its events to that object.
#pragma once

#include <memory>
#include <string>

#include "control/cls_data_copy.h"
#include "platform/conversions.h"
#include "platform/error.h"

namespace iqrx::hosting {

class clsDataCopyHandler : public control::DataCopyEvents {
public:
    explicit clsDataCopyHandler(control::Process& process) : process_(process) {}  // borrows it

    // Runs one request. Raises nothing: what fails before the run starts goes to the request error log.
    void HandleDataCopy(const control::CopyRequest& request);

    // What the last request came to; Error also when it never became a run.
    control::Outcome LastOutcome() const { return outcome_; }

    void DataCopyAlreadyInProgress(platform::Date iTime, platform::Integer iTableID) override;
    void DataCopyComplete(platform::Date iTime, platform::Integer iTableID, platform::Long icount,
                          platform::Long ucount, platform::Long dcount) override;
    void DataCopydone() override {
        if (!process_.settings.standalone) instanceObject_.reset();
    }
    void DataCopyError(platform::Date iTime, platform::Integer iTableID, platform::Integer ieNumber,
                       const std::string& ieMessage) override;
    void DataCopyStarted(platform::Date iTime, platform::Integer iTableID) override;

private:
    // What the scheduler hears of a table: of an employee's calendar run that of the calendars; an id that
    // the catalog has no room for stands for itself.
    struct TableNames {
        std::string text, erpId, name;
    };

    TableNames NamesOf(platform::Integer tableId) const;
    void FetchInstanceObject();
    void Handle(const control::CopyRequest& request);
    platform::Object& Instance() { return *platform::ToObject(instanceObject_); }
    std::string TextAbout(std::string_view label, const TableNames& table) {
        return process_.messages.GetI18nText(label, {table.text, table.erpId});
    }
    // Makes the calls, unless standalone, then tells the table's status where it is wanted.
    template <class Calls>
    void Relay(platform::Integer tableId, platform::Integer status, Calls calls);

    control::Process& process_;
    std::unique_ptr<control::clsDataCopy> dataCopyJob_;
    platform::ObjectRef instanceObject_;
    std::optional<platform::Long> statusKey_;  // the request's; the caller may change it
    control::Outcome outcome_ = control::Outcome::None;
};

// Writes a failure before a run has a log of its own to the request error log and, in one line, to the
// diagnostics, which are all that hears of it where the log cannot be written.
void TellOfFailure(control::Process& process, const std::string& logDirectory,
                   const platform::RuntimeError& error);

}  // namespace iqrx::hosting
