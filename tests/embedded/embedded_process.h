// A process of the copy on a new embedded database with the installed schema.
#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "platform/conversions.h"
#include "platform/sqlite/sqlite_database.h"
#include "support/test_process.h"

namespace iqrx::testing {

struct EmbeddedProvider : platform::DatabaseProvider {
    std::unique_ptr<platform::Connection> CreateConnection(std::string_view) override {
        return platform::CreateSqliteConnection();
    }
};

class EmbeddedProcess : private EmbeddedProvider, public TestProcess, public ::testing::Test {
protected:
    EmbeddedProcess() : EmbeddedProcess(erp) {}
    explicit EmbeddedProcess(erp::ErpProvider& erps) : TestProcess(*this, erps) {
        std::ostringstream schema;
        schema << std::ifstream(IQRX_SCHEMA_FILE).rdbuf();
        platform::ApplySqliteScript(File(), schema.str());
        process.database.OpenDatabase("Provider=SQLite;Data Source=" + File().string(), "");
        process.runLog.SetLogFileName((directory.path / "run.log").string());
    }

    void Execute(const std::string& sql) { process.database.Execute(sql); }

    // The first columns of a select's rows, "a|b"; Null as "NULL".
    std::vector<std::string> Rows(const std::string& sql, int columns) {
        std::vector<std::string> lines;
        for (auto rows = process.database.OpenRecordset(sql); !rows->Eof(); rows->MoveNext()) {
            std::string line;
            for (int i = 0; i < columns; ++i) {
                const platform::Value value = rows->Field(i);
                line += (i > 0 ? "|" : "") +
                        (value.Is<platform::Null>() ? std::string("NULL") : platform::ToText(value));
            }
            lines.push_back(line);
        }
        return lines;
    }

private:
    std::filesystem::path File() const { return directory.path / "local.db"; }
};

}  // namespace iqrx::testing
