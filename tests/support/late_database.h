// Connections that answer late: what is sent stays in a queue until so many units wait there, or until
// somebody wants an answer. Then it goes to the connection within, one statement after the other.
#pragma once

#include <cstddef>
#include <deque>
#include <memory>
#include <string>

#include "platform/database_wrapper.h"

namespace iqrx::testing {

class LateConnection final : public platform::ConnectionWrapper {
public:
    LateConnection(std::unique_ptr<platform::Connection> connection, std::size_t unitsPerTrip)
        : ConnectionWrapper(std::move(connection)), unitsPerTrip_(unitsPerTrip) {}

    void Close() override;
    std::int32_t Execute(const platform::Statement& statement) override;
    void Send(const platform::Statement& statement, platform::Answers& answers) override;
    void Upsert(const platform::Statement& update, const MakeStatement& insert,
                platform::Answers& answers) override;
    void AwaitAnswers() override;
    void Commit() override;
    void RunAsUnit(const Work& work) override;
    void RunExclusively(const Work& work) override;
    std::unique_ptr<platform::Recordset> CreateRecordset() override;

private:
    struct Unit {
        std::string statement, insert;
        bool isUpsert;
        platform::Answers* answers;
    };
    void Add(Unit unit);
    void Run(const Unit& unit);

    const std::size_t unitsPerTrip_;
    std::deque<Unit> units_;
};

class LateDatabases : public platform::DatabaseProvider {
public:
    LateDatabases(platform::DatabaseProvider& databases, std::size_t unitsPerTrip)
        : databases_(databases), unitsPerTrip_(unitsPerTrip) {}
    std::unique_ptr<platform::Connection> CreateConnection(std::string_view connectionString) override {
        return std::make_unique<LateConnection>(databases_.CreateConnection(connectionString), unitsPerTrip_);
    }

private:
    platform::DatabaseProvider& databases_;
    const std::size_t unitsPerTrip_;
};

}  // namespace iqrx::testing
