// Keeps the rows that the sweep of a full copy takes, so that `qrxctl undo` can bring them back.
#pragma once

#include <memory>
#include <string>

#include "journal/state_directory.h"
#include "platform/watch/removed_rows.h"

namespace iqrx::qrxctl {

// undo/RUN-TABLE.sql in the state directory, RUN-TABLE.2.sql of a run that was resumed: a comment, then an
// INSERT statement a row. Until the rows are known to be gone its extension is .part. Raises nothing: a copy
// does not suffer when they cannot be kept, and Problem() says why.
class UndoFile final : public platform::watch::RemovedRows {
public:
    UndoFile(journal::StateDirectory& directory, std::string run)
        : directory_(directory), run_(std::move(run)) {}
    ~UndoFile() override;

    void Begin(std::string_view table) override;
    void Row(std::string_view statement) override;
    void End() override;

    // The rows of the last table are gone: from now on they can be brought back. Without it they are
    // forgotten, since they are still in the table.
    void Settle(bool removed);

    const std::string& Problem() const { return problem_; }

private:
    std::filesystem::path FreeName() const;
    void Flush();
    template <class Act>
    void Try(Act act);

    journal::StateDirectory& directory_;
    const std::string run_;
    std::string table_, text_, problem_;
    std::filesystem::path part_;
    std::unique_ptr<platform::AppendingFile> file_;
};

}  // namespace iqrx::qrxctl
