// A process of the copy on a local database of its own, with the schema in place; machine and ERP exist in
// the test alone. The database is embedded or, in a program that runs with IQRX_SITE_DATABASE=postgresql, on
// a server that all tests of the program share.
#pragma once

#include <string>
#include <vector>

#include "support/test_process.h"

namespace iqrx::testing {

struct EmbeddedDatabases : platform::DatabaseProvider {
    std::unique_ptr<platform::Connection> CreateConnection(std::string_view connectionString) override;
};

struct LocalDatabases : platform::DatabaseProvider {
    std::unique_ptr<platform::Connection> CreateConnection(std::string_view connectionString) override;
};

// Those whose statements the database takes.
std::vector<platform::Integer> LocalPlatforms();

struct LocalProcess : private LocalDatabases, TestProcess {
    explicit LocalProcess(platform::Integer databasePlatform = 1);
    explicit LocalProcess(erp::ErpProvider& erps);  // borrowed, instead of `erp`

    void Reopen(platform::Integer databasePlatform);  // the same database
    void Execute(const std::string& sql) { process.database.Execute(sql); }
    // The rows of a select, the named fields as texts with "|" between them, NULL for Null.
    std::vector<std::string> Rows(const std::string& sql, const std::vector<std::string>& fields);
    // A copied table's row in the control table.
    void GivenTable(const std::string& table, platform::Integer filterFlag);
    std::string LastUpdate(const std::string& table);

private:
    LocalProcess(platform::Integer databasePlatform, erp::ErpProvider& erps);

    const std::string connection_;
};

}  // namespace iqrx::testing
