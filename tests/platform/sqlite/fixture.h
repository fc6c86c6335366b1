// A database file of its own for each test, and short ways to talk to it.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "platform/conversions.h"
#include "platform/date.h"
#include "platform/error.h"
#include "platform/sqlite/sqlite_database.h"

namespace iqrx::platform::sqlite {

class DatabaseTest : public testing::Test {
protected:
    DatabaseTest() {
        const auto* test = testing::UnitTest::GetInstance()->current_test_info();
        directory = std::filesystem::temp_directory_path() /
                    (std::string("iqrx_") + test->name() + "_" + std::to_string(getpid()));
        std::filesystem::create_directories(directory);
        file = directory / "local.db";
    }
    ~DatabaseTest() override {
        connection.reset();
        std::filesystem::remove_all(directory);
    }

    void Create(std::string_view schema) { ApplySqliteScript(file, schema); }

    std::unique_ptr<Connection> Connect() {
        auto opened = CreateSqliteConnection({"tstables", "tsfullsyncs"});
        opened->Open("Provider=SQLite;Data Source=" + file.string());
        return opened;
    }

    Connection& Db() {
        if (!connection) connection = Connect();
        return *connection;
    }

    int Execute(std::string_view sql) { return Db().Execute(sql); }

    std::unique_ptr<Recordset> Select(std::string_view sql) { return Select(Db(), sql); }
    static std::unique_ptr<Recordset> Select(Connection& from, std::string_view sql) {
        auto rows = from.CreateRecordset();
        rows->Open(sql, CursorType::ForwardOnly, LockType::Optimistic);
        return rows;
    }

    // The rows of a select as texts, "a|b", NULL for Null.
    std::vector<std::string> Rows(std::string_view sql, int columns) {
        std::vector<std::string> result;
        for (auto rows = Select(sql); !rows->Eof(); rows->MoveNext()) {
            std::string line;
            for (int i = 0; i < columns; ++i) {
                const Value value = rows->Field(i);
                line += (i ? "|" : "") + Shown(value);
            }
            result.push_back(line);
        }
        return result;
    }

    static std::string Shown(const Value& value) {
        if (value.Is<Null>()) return "NULL";
        return value.Is<Date>() ? IsoDateTime(value.As<Date>()) : ToText(value);
    }

    // The message of the error that the text causes, and "" when it runs.
    std::string ErrorOf(std::string_view sql) {
        try {
            Execute(sql);
            return "";
        } catch (const RuntimeError& error) {
            return error.description;
        }
    }

    std::filesystem::path directory, file;
    std::unique_ptr<Connection> connection;
};

}  // namespace iqrx::platform::sqlite
