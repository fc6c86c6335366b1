// Writes down the service's runs: a run sheet while one copies, a line of history when it has ended.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "composition/composition.h"
#include "control/run_witness.h"
#include "journal/history.h"
#include "journal/run_sheet.h"

namespace iqrx::hosting {

class RunRecorder final : public control::RunWitness {
public:
    // All is borrowed. What cannot be written is told there, in one line a run, and the copy goes on.
    RunRecorder(Composition& parts, std::ostream& diagnostics, const platform::StopRequest& stop);
    ~RunRecorder() override;

    void RunBegins(const control::CopyRequest& request, const std::string& table) override;
    void RunEnded(control::Outcome outcome, const std::string& cause) override;

private:
    struct Run;

    Composition& parts_;
    std::ostream& diagnostics_;
    const platform::StopRequest& stop_;
    std::unique_ptr<Run> run_;
};

}  // namespace iqrx::hosting
