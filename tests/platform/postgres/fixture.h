// A server for all tests of the program, a fresh schema for each, and short ways to talk to it.
#pragma once

#include <gmock/gmock.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/conversions.h"
#include "platform/date.h"
#include "platform/postgres/connection.h"
#include "platform/postgres/postgres_database.h"
#include "support/postgres_server.h"

namespace iqrx::testing {

using namespace iqrx::platform;

inline std::unique_ptr<Connection> ConnectionOn(const PostgresServer& server, const std::string& keys = "",
                                                const std::string& user = "postgres") {
    auto made = CreatePostgresConnection({"tstables", "tsfullsyncs"});
    made->Open("Provider=PostgreSQL;Host=" + server.Host() + ";Port=" + std::to_string(server.Port()) +
               ";Database=postgres;User=" + user + keys);
    return made;
}

// What a call raises: the error's description after its SQL state; empty when it raises nothing.
inline std::string Raised(const std::function<void()>& call) {
    try {
        call();
        return {};
    } catch (const RuntimeError& error) {
        return error.description;
    }
}

class ServerTest : public ::testing::Test {
protected:
    ServerTest() {
        Run("DROP SCHEMA IF EXISTS public CASCADE; CREATE SCHEMA public;"
            "GRANT ALL ON SCHEMA public TO public");
    }

    static PostgresServer& Server() {
        static PostgresServer server({.listens = PostgresOptions::Listens::Socket, .settings = Settings()});
        if (!server.Running()) server.Start();
        return server;
    }
    static std::vector<std::string> Settings() {
        return {"max_connections=8", "superuser_reserved_connections=1"};
    }

    std::unique_ptr<Connection> Connect(const std::string& keys = "", const std::string& user = "postgres") {
        return ConnectionOn(Server(), keys, user);
    }
    Connection& Db() {
        if (!connection) connection = Connect();
        return *connection;
    }
    int Run(std::string_view sql) { return Db().Execute(sql); }
    std::unique_ptr<Recordset> Select(std::string_view sql) {
        auto rows = Db().CreateRecordset();
        rows->Open(sql, CursorType::ForwardOnly, LockType::Optimistic);
        return rows;
    }
    // For the server, so far.
    std::size_t Waits() { return dynamic_cast<postgres::PostgresConnection&>(Db()).Waits(); }
    // The rows of a select as texts, "a|b", NULL for Null.
    std::vector<std::string> Rows(std::string_view sql) {
        std::vector<std::string> result;
        for (auto rows = Select(sql); !rows->Eof(); rows->MoveNext()) {
            std::string line;
            for (int i = 0; i < static_cast<int>(rows->FieldNames().size()); ++i) {
                const Value value = rows->Field(i);
                line += (i ? "|" : "") + (value.Is<Null>()   ? "NULL"
                                          : value.Is<Date>() ? IsoDateTime(value.As<Date>())
                                                             : ToText(value));
            }
            result.push_back(line);
        }
        return result;
    }

    std::unique_ptr<Connection> connection;
};

}  // namespace iqrx::testing
