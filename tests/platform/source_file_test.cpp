// A disk that fails in the middle of a file.
#include "platform/source_file.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <system_error>

#include "platform/csv_reader.h"
#include "platform/error.h"

namespace iqrx::platform {
namespace {

// Text in memory whose reads fail from the k-th on.
class FailingFile final : public InputFile {
public:
    FailingFile(std::string text, int readsBefore) : text_(std::move(text)), readsBefore_(readsBefore) {}

    std::size_t Read(std::uint64_t offset, char* buffer, std::size_t size) override {
        if (readsBefore_-- <= 0) throw std::system_error(std::make_error_code(std::errc::io_error));
        return text_.copy(buffer, size, offset);
    }
    FileState State() override { return {text_.size(), 1}; }

private:
    std::string text_;
    int readsBefore_;
};

std::string SomeRows() {
    std::string text = "code,text\n";
    for (int i = 0; i < 10'000; ++i) text += std::to_string(i) + ",\"a text of\nsome length\"\n";
    return text;
}

// The rows read, and the complaint that ended them.
std::pair<int, std::string> RowsOfFileThatFailsAfter(int reads) {
    int rows = 0;
    try {
        const auto file =
            std::make_shared<SourceFile>("x.csv", std::make_unique<FailingFile>(SomeRows(), reads), "export");
        for (CsvReader csv(file); csv.Next();) ++rows;
    } catch (const RuntimeError& error) {
        EXPECT_EQ(error.number, kPathFileAccess);
        EXPECT_EQ(error.source, "export");
        return {rows, error.description};
    }
    return {rows, "(no error)"};
}

TEST(AFailingDisk, IsAnErrorThatNamesTheFileWhicheverReadFails) {
    const std::string cause = std::make_error_code(std::errc::io_error).message();
    int rows = 0, reads = 0;
    for (;; ++reads) {
        const auto [read, complaint] = RowsOfFileThatFailsAfter(reads);
        EXPECT_GE(read, rows);
        rows = read;
        if (complaint == "(no error)") break;
        EXPECT_EQ(complaint, "x.csv cannot be read: " + cause) << "read " << reads;
    }
    EXPECT_EQ(rows, 10'000);
    EXPECT_GT(reads, 5);
}

}  // namespace
}  // namespace iqrx::platform
