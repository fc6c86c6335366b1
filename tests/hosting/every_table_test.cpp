// Every table stands in files besides its own. These tests name, for a table that somebody adds, each file
// that lacks it.
#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>

#include "hosting/dispatch.h"
#include "runtime/message_catalog.h"

namespace iqrx::testing {
namespace {

namespace fs = std::filesystem;

const fs::path kRoot = IQRX_SOURCE_DIRECTORY;
const std::string kCalendars =
    "tcccp030";  // from the calendar service: without classes and extract of its own
const std::string kExpandedDays = "tcccp031";  // written by the copy of the calendars

// A file and what stands in it, a regular expression; {table} is the table's name in both.
struct Entry {
    std::string file, text;
};
const std::vector<Entry> kOfEveryTable{
    {"schema/catalog.csv", R"(\n\d+,1028,{table},{table},SYNC,STIT\d{4},[^,]+,)"},
    {"schema/sqlite.sql", R"(\nCREATE TABLE IF NOT EXISTS {table} \()"},
    {"schema/sqlserver.sql", R"(\nCREATE TABLE {table} \()"},
    {"schema/oracle.sql", R"('CREATE TABLE {table} \()"},
    {"schema/postgresql.sql", R"(\nCREATE TABLE IF NOT EXISTS {table} \()"},
    {"docs/local-database.md", R"(\n\| `{table}` \| [^|]+ \|)"},
    {"tests/golden/{table}.full.sqlserver.txt", R"(execute \[[^\]]*{table})"},
    {"tests/golden/{table}.full.oracle.txt", R"(execute \[[^\]]*{table})"},
    {"tests/golden/{table}.incremental.sqlserver.txt", R"(execute \[[^\]]*{table})"},
    {"tests/golden/{table}.incremental.oracle.txt", R"(execute \[[^\]]*{table})"},
    {"tests/tables", R"re("{table}[".])re"},  // a test that compares with those
};
const std::vector<Entry> kOfATableOfTheErp{
    {"packaging/ErpClasses.ini", R"(\[{table}\]\nManager=.+\nRecord=.+)"},
    {"sample/{table}.csv", R"(^\w+(,\w+)*\n.+)"},
    {"sample/{table}.audit.csv", R"(^changed_at,change(,\w+)+\n.+)"},
};

// Of a directory that of all sources below it; of a file that is not there nothing.
std::string Text(const fs::path& path) {
    std::ostringstream text;
    if (!fs::is_directory(path)) {
        text << std::ifstream(path, std::ios::binary).rdbuf();
        return text.str();
    }
    for (const auto& file : fs::recursive_directory_iterator(path))
        if (file.path().extension() == ".cpp") text << Text(file.path());
    return text.str();
}

std::set<std::string> DispatchedTables() {
    std::set<std::string> names;
    for (const control::TableRoutine& routine : hosting::Tables()) names.emplace(routine.table);
    return names;
}

void ExpectEach(const std::vector<Entry>& entries, const std::string& table) {
    for (const Entry& entry : entries) {
        const std::string file = runtime::Fill(entry.file, "{table}", table);
        if (!std::regex_search(Text(kRoot / file), std::regex(runtime::Fill(entry.text, "{table}", table))))
            ADD_FAILURE() << file << " lacks " << table;
    }
}

TEST(EveryTable, StandsInEachFileThatItNeeds) {
    for (const std::string& table : DispatchedTables()) {
        ExpectEach(kOfEveryTable, table);
        if (table != kCalendars) ExpectEach(kOfATableOfTheErp, table);
    }
}

// The first group of the expression is a table's name.
void ExpectDispatched(const std::string& where, const std::string& text, const std::string& expression) {
    const std::set<std::string> tables = DispatchedTables();
    const std::regex name(expression);
    std::set<std::string> found;
    for (std::sregex_iterator at(text.begin(), text.end(), name), end; at != end; ++at)
        found.insert((*at)[1]);
    EXPECT_FALSE(found.empty()) << where;
    for (const std::string& table : found)
        if (!tables.contains(table) && table != kExpandedDays)
            ADD_FAILURE() << "src/hosting/dispatch.cpp lacks " << table << ", which stands in " << where;
}

TEST(EveryTable, ThatAFileNamesIsInTheDispatchList) {
    ExpectDispatched("src/tables", Text(kRoot / "src/tables"), R"re(\.name = "(\w+)")re");
    for (const char* file :
         {"schema/catalog.csv", "schema/sqlite.sql", "schema/sqlserver.sql", "schema/oracle.sql",
          "schema/postgresql.sql", "packaging/ErpClasses.ini", "docs/local-database.md"})
        ExpectDispatched(file, Text(kRoot / file), R"(\b(t[cs][a-z]{3}\d{3})\b)");
    for (const char* directory : {"sample", "tests/golden"}) {
        std::string names;
        for (const auto& file : fs::directory_iterator(kRoot / directory))
            names += file.path().filename().string() + "\n";
        ExpectDispatched(directory, names, R"(\b(t[cs][a-z]{3}\d{3})\.)");
    }
}

// The label that a failed copy shows is the one that the catalog lists the table with.
TEST(EveryTable, HasTheTitleOfItsCatalogEntry) {
    const std::string sources = Text(kRoot / "src/tables"), catalog = Text(kRoot / "schema/catalog.csv");
    for (const std::string& table : DispatchedTables()) {
        std::smatch title, listed;
        const std::regex inItsFile("\\.name = \"" + table + "\",\\s*\\.titleLabel = \"(\\w+)\"");
        const std::regex inTheCatalog("," + table + ",SYNC,(\\w+),");
        if (!std::regex_search(sources, title, inItsFile)) continue;
        if (!std::regex_search(catalog, listed, inTheCatalog)) continue;
        EXPECT_EQ(title.str(1), listed.str(1)) << "schema/catalog.csv lists " << table << " with another label";
    }
}

}  // namespace
}  // namespace iqrx::testing
