// Shows how far a copy is: the statements that it has sent so far.
#pragma once

#include <chrono>
#include <iosfwd>
#include <string>

#include "platform/database.h"

namespace iqrx::qrxctl {

class Progress {
public:
    // On a terminal the line of a table is rewritten while it is copied; elsewhere it is written once.
    Progress(std::ostream& out, bool onTerminal) : out_(out), onTerminal_(onTerminal) {}

    void Begin(const std::string& table);
    void Count();  // one more statement
    void End(const std::string& outcome);

private:
    void Show();

    std::ostream& out_;
    bool onTerminal_;
    std::string table_;
    long statements_ = 0;
    std::chrono::steady_clock::time_point shown_{};
};

// A provider whose connections tell `progress` of each statement.
class CountingDatabase : public platform::DatabaseProvider {
public:
    CountingDatabase(platform::DatabaseProvider& provider, Progress& progress)
        : provider_(provider), progress_(progress) {}
    std::unique_ptr<platform::Connection> CreateConnection(std::string_view connectionString) override;

private:
    platform::DatabaseProvider& provider_;
    Progress& progress_;
};

}  // namespace iqrx::qrxctl
