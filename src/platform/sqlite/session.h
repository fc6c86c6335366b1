// An open database with what its connection and recordsets share: the statements, the write group and the way
// that every call goes.
#pragma once

#include <filesystem>
#include <mutex>

#include "platform/database.h"
#include "platform/sqlite/database.h"
#include "platform/sqlite/prepared.h"
#include "platform/write_group.h"

namespace iqrx::platform::sqlite {

class Session {
public:
    // `errors` and `controlTables` must outlive the session. Raises when the file can't be used.
    Session(const std::filesystem::path& file, Database::Access access, Errors& errors,
            const TableNames& controlTables, WaitListener listener);
    ~Session() = default;  // what was not committed is lost

    // Does one call's work. When it fails, its error is entered in the connection's Errors and what was written
    // before is committed, then the error is raised. `work` must leave no statement that is not reset.
    template <class Work>
    auto Call(Work work) {
        const auto turn = group_.Lock();
        try {
            group_.RaiseLoss();
            return work();
        } catch (...) {
            Fail();
            throw;
        }
    }

    [[nodiscard]] std::unique_lock<std::mutex> Turn() { return group_.Lock(); }

    // The port's Commit, RunAsUnit and RunExclusively; each makes its own calls.
    void Settle();
    void RunAsUnit(const Connection::Work& work);
    void RunExclusively(const Connection::Work& work);

    // Everything below belongs inside of Call.
    Found Find(const platform::Statement& statement) { return programs_.Find(statement); }
    std::int64_t Run(const Found& found);  // rows affected

    template <class Write>
    void InGroup(bool commitAtOnce, Write write) {
        if (frame_ == Frame::Exclusive) return write();
        group_.BeforeWrite();
        BeginUnit();
        write();
        if (commitAtOnce && frame_ == Frame::None)
            group_.Commit();
        else
            group_.AfterWrite();
    }
    void Commit() {  // not in the middle of a unit or of an exclusive section
        if (frame_ == Frame::None || frame_ == Frame::UnitAhead) group_.Commit();
    }

    Database& Handle() { return database_; }
    const std::filesystem::path& File() const { return file_; }

private:
    // What the statements stand in. A unit begins with its first write, so that one that only reads, or waits
    // for somebody else before it writes, holds nobody up.
    enum class Frame { None, UnitAhead, Unit, Exclusive };

    void BeginUnit();
    void EndUnit();
    void AbandonUnit();
    void RollBack() noexcept;
    std::int64_t RunSteps(const Found& found, std::size_t set);
    std::int64_t RunBatch(const Found& found);
    void CommitGroup();
    void Fail();
    void MakeRoom();

    const std::filesystem::path file_;
    Errors& errors_;
    Database database_;
    dialect::Programs programs_;
    Prepared beginUnit_, endUnit_;
    Frame frame_ = Frame::None;
    WriteGroup group_;
};

}  // namespace iqrx::platform::sqlite
