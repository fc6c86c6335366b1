// Which database a state directory is about, as far as a connection string tells.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace iqrx::journal {

struct DatabaseId {
    std::string file = {};    // of an embedded database, from the root on
    std::string server = {};  // "SQL1"
    std::string source = {};  // the name of a data source
    std::string name = {};    // of the database; of the schema on a server that is told no database

    bool IsKnown() const { return !Shown().empty(); }
    // One database may be told in several ways: they are two only when something that both tell differs.
    bool MayBe(const DatabaseId& other) const;
    // Whether it lies beside the database's file under its name, wherever both were moved.
    bool Owns(const std::filesystem::path& directory) const;

    std::string Shown() const;  // "/var/lib/data.db", "SQL1 scheduling"
    std::string Text() const;   // lines "server=SQL1"
    bool operator==(const DatabaseId&) const = default;
};

DatabaseId ReadDatabaseId(std::string_view text);  // of Text; what else it holds is passed over

// Of a connection string that cannot be read nothing is known. `database` goes before the one that it names;
// a server's user is its schema where no database is named and `userIsSchema`.
DatabaseId DatabaseIdOf(const std::string& connectionString, const std::string& database, bool userIsSchema);

}  // namespace iqrx::journal
