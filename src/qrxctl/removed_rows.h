// The rows that the sweep of a full copy has removed, as the copy has kept them: a comment
// "-- TABLE, N rows, run RUN", then an INSERT statement a row.
#pragma once

#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace iqrx::qrxctl {

struct RemovedRowsFile {
    std::string table;
    std::filesystem::path file;
    bool undone = false;    // its rows were brought back
    bool mayBeCut = false;  // its run was ended while it kept them, and may have removed them
};
// Of a run, by table. Raises RuntimeError when the directory cannot be looked at.
std::vector<RemovedRowsFile> RemovedRowsOf(const std::filesystem::path& directory, std::string_view run);
// Where the file goes when its rows are back.
std::filesystem::path UndoneName(const std::filesystem::path& file);

// INSERT INTO table (columns) VALUES (values); the values as literals.
struct RemovedRow {
    std::vector<std::string> columns, values;

    // "cstp = N'ADV' AND ..."; empty when the row lacks one of the key's columns.
    std::string WhereKey(const std::vector<std::string>& key) const;
};

class RemovedRowsReader {
public:
    explicit RemovedRowsReader(const RemovedRowsFile& file);  // raises RuntimeError

    // The next statement, nothing at the end. A text in it may hold line breaks. Raises RuntimeError for a
    // line that is no such statement; the last one of a file that may be cut is passed over.
    std::optional<std::string> Next();
    RemovedRow Row() const { return row_; }  // of the statement

private:
    [[noreturn]] void Fail() const;

    const RemovedRowsFile file_;
    std::ifstream stream_;
    std::int64_t line_ = 0;
    RemovedRow row_;
};

}  // namespace iqrx::qrxctl
