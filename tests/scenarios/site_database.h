// The database of a site: a file in its directory or, in a program that runs with
// IQRX_SITE_DATABASE=postgresql, a database of its own on a server that all tests of the program share.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "support/postgres_server.h"

namespace iqrx::testing {

class SiteDatabase {
public:
    virtual ~SiteDatabase() = default;
    virtual std::string Connection() const = 0;
    // What a reading application finds: a line per row, cells joined by '|', NULL for Null.
    virtual std::vector<std::string> Rows(const std::string& sql) const = 0;
    virtual std::vector<std::string> Tables() const = 0;
    // Keeps all that the database holds; and has it as it was kept, while nobody is connected.
    virtual void Keep() const = 0;
    virtual void Restore() const = 0;
};

std::unique_ptr<SiteDatabase> EmbeddedSiteDatabase(const std::filesystem::path& file);
std::unique_ptr<SiteDatabase> PostgresSiteDatabase();
PostgresServer& SiteServer();  // on TCP, too
std::vector<std::string> RowsOn(const PostgresServer& server, const std::string& database,
                                const std::string& sql);

}  // namespace iqrx::testing
