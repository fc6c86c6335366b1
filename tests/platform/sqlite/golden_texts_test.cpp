// The embedded database, with the installed schema, takes every statement text that the golden files hold.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <sstream>

#include "fixture.h"

namespace iqrx::platform::sqlite {
namespace {

const std::filesystem::path kSource = IQRX_SOURCE_DIRECTORY;

std::string ContentOf(const std::filesystem::path& file) {
    std::ostringstream content;
    content << std::ifstream(file, std::ios::binary).rdbuf();
    return content.str();
}

std::vector<std::filesystem::path> GoldenFiles() {
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(kSource / "tests" / "golden"))
        if (entry.path().extension() == ".txt") files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    return files;
}

// The text between the brackets of a line, with its line breaks, which the files show as \r\n.
std::string StatementOf(const std::string& line) {
    const std::size_t begin = line.find('[') + 1;
    std::string text = line.substr(begin, line.rfind(']') - begin);
    for (std::size_t at; (at = text.find("\\r\\n")) != std::string::npos;) text.replace(at, 4, "\r\n");
    return text;
}

class GoldenTexts : public DatabaseTest {};

TEST_F(GoldenTexts, AreTakenByTheEmbeddedDatabase) {
    Create(ContentOf(kSource / "schema" / "sqlite.sql"));
    const auto empty = file;
    int statements = 0;
    for (const auto& golden : GoldenFiles()) {
        file = directory / golden.filename().replace_extension(".db");
        std::filesystem::copy_file(empty, file);
        connection.reset();
        std::ifstream lines(golden);
        for (std::string line; std::getline(lines, line);) {
            try {
                if (line.starts_with("execute "))
                    Execute(StatementOf(line)), ++statements;
                else if (line.starts_with("open "))
                    Select(StatementOf(line)), ++statements;
            } catch (const RuntimeError& error) {
                ADD_FAILURE() << golden.filename() << ": " << line << "\n" << error.description;
            }
        }
    }
    EXPECT_GT(statements, 0);
}

}  // namespace
}  // namespace iqrx::platform::sqlite
