// The scripts that create the local database, and the texts that are installed beside the program.
#include <gmock/gmock.h>
#include <unistd.h>

#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <sstream>

#include "hosting/dispatch.h"
#include "platform/date.h"
#include "platform/error.h"
#include "platform/sqlite/sqlite_database.h"

namespace iqrx {
namespace {

using platform::Connection;
using platform::CursorType;
using platform::Date;
using platform::LockType;
using platform::Null;
using platform::Value;
using testing::Contains;
using testing::ElementsAre;
using testing::Eq;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

const std::filesystem::path kRoot = IQRX_SOURCE_DIRECTORY;

std::string Text(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    EXPECT_TRUE(stream) << file;
    std::ostringstream text;
    text << stream.rdbuf();
    return text.str();
}

struct TableText {
    std::vector<std::string> columns;
    std::vector<std::string> key;
};

std::vector<std::string> Names(const std::string& list) {
    std::vector<std::string> names;
    const std::regex item(R"((\w+)[^,]*)");
    for (std::sregex_iterator at(list.begin(), list.end(), item), end; at != end; ++at) {
        names.push_back((*at)[1]);
    }
    return names;
}

// The tables that a script creates, each with its columns in order.
std::map<std::string, TableText> TablesOf(const std::string& script) {
    static const std::regex create(R"(CREATE TABLE (?:IF NOT EXISTS )?(\w+) \(([^;']*?)\n *\))");
    static const std::regex primary(R"(,\s*(?:CONSTRAINT \w+ )?PRIMARY KEY \(([^)]*)\))");
    static const std::regex width(R"(\(\d+(,\d+)?\))");
    std::map<std::string, TableText> tables;
    for (std::sregex_iterator at(script.begin(), script.end(), create), end; at != end; ++at) {
        std::string body = (*at)[2];
        TableText table;
        std::smatch key;
        if (std::regex_search(body, key, primary)) {
            table.key = Names(key[1]);
            body = key.prefix();
        }
        table.columns = Names(std::regex_replace(body, width, ""));
        tables[(*at)[1]] = table;
    }
    return tables;
}

std::string Joined(const std::vector<std::string>& names) {
    std::string text;
    for (const std::string& name : names) text += (text.empty() ? "" : ",") + name;
    return text;
}

class Schema : public testing::Test {
protected:
    Schema() {
        const auto* test = testing::UnitTest::GetInstance()->current_test_info();
        file = std::filesystem::temp_directory_path() /
               (std::string("iqrx_schema_") + test->name() + std::to_string(getpid()));
        Remove();
        platform::ApplySqliteScript(file, script);
        connection = platform::CreateSqliteConnection({});
        connection->Open("Provider=SQLite;Data Source=\"" + file.string() + "\"");
    }
    ~Schema() override {
        connection->Close();
        Remove();
    }

    void Remove() const {
        std::error_code ignored;
        for (const char* part : {"", "-wal", "-shm"}) std::filesystem::remove(file.string() + part, ignored);
    }

    const std::string script = Text(kRoot / "schema/sqlite.sql");
    std::filesystem::path file;
    std::unique_ptr<Connection> connection;
};

// The name of an index is its table's own affair: another table may have one of the same name.
TEST(Scripts, LookForAnIndexOnItsOwnTable) {
    const std::string script = Text(kRoot / "schema/sqlserver.sql");
    const std::regex looks(R"(IF NOT EXISTS \(SELECT \* FROM sys\.indexes WHERE name = N'(\w+)')"
                           R"( AND object_id = OBJECT_ID\(N'(\w+)'\)\)\nCREATE INDEX (\w+) ON (\w+) )");
    const std::regex creates("CREATE INDEX");
    const auto count = [&](const std::regex& pattern) {
        return std::distance(std::sregex_iterator(script.begin(), script.end(), pattern), {});
    };
    EXPECT_GT(count(creates), 0);
    EXPECT_EQ(count(looks), count(creates));
    for (std::sregex_iterator at(script.begin(), script.end(), looks), end; at != end; ++at) {
        EXPECT_EQ((*at)[1], (*at)[3]);
        EXPECT_EQ((*at)[2], (*at)[4]);
    }
}

TEST(Scripts, CreateTheSameTablesWithTheSameColumnsAndKeysOnEveryDatabase) {
    const auto embedded = TablesOf(Text(kRoot / "schema/sqlite.sql"));
    for (const control::TableRoutine& routine : hosting::Tables()) {
        EXPECT_TRUE(embedded.contains(std::string(routine.table))) << routine.table;
    }
    for (const char* other : {"schema/sqlserver.sql", "schema/oracle.sql", "schema/postgresql.sql"}) {
        const auto tables = TablesOf(Text(kRoot / other));
        EXPECT_THAT(tables, SizeIs(embedded.size()));
        for (const auto& [name, table] : embedded) {
            ASSERT_TRUE(tables.contains(name)) << other << ": " << name;
            EXPECT_EQ(tables.at(name).columns, table.columns) << other << ": " << name;
            EXPECT_EQ(tables.at(name).key, table.key) << other << ": " << name;
        }
    }
}

TEST_F(Schema, AppliedAgainKeepsTheRows) {
    connection->Execute("INSERT INTO tsmdm030 (cstp,dsca) VALUES (N'REP',N'Repair')");
    connection->Close();

    platform::ApplySqliteScript(file, script);

    connection->Open("Provider=SQLite;Data Source=\"" + file.string() + "\"");
    EXPECT_EQ(connection->Execute("UPDATE tsmdm030 SET upd_flag = 1 "), 1);
}

// Tables of which several rows are alike.
const std::set<std::string> kWithoutKey{"tsmdm000", "tcccp030", "tcccp031", "tsparameters"};

TEST_F(Schema, RefusesASecondRowOfTheSameKey) {
    for (const auto& [name, table] : TablesOf(script)) {
        EXPECT_EQ(table.key.empty(), kWithoutKey.contains(name)) << name;
        if (table.key.empty()) continue;
        std::string values;
        for (std::size_t i = 0; i < table.key.size(); ++i) values += (i == 0 ? "" : ",") + std::string("1");
        const std::string insert =
            "INSERT INTO " + name + " (" + Joined(table.key) + ") VALUES (" + values + ")";
        EXPECT_EQ(connection->Execute(insert), 1) << name;
        EXPECT_THROW(connection->Execute(insert), platform::RuntimeError) << name;
    }
}

TEST_F(Schema, StartsEveryTargetRowConfirmed) {
    for (const auto& [name, table] : TablesOf(script)) {
        const bool isTarget = !name.ends_with("_audit") && name != "tstables" && name != "tstreenodes" &&
                              name != "tsi18ntext" && name != "tsfullsyncs" && name != "tsparameters";
        EXPECT_EQ(isTarget, table.columns.back() == "upd_flag") << name;
    }
}

TEST_F(Schema, GivesDatesAsDatesNumbersAsNumbersAndCodesAsTexts) {
    connection->Execute(
        "INSERT INTO tssoc200 (orno,ccfg,ordt,osta,ordu,emer,ract) VALUES "
        "(N'001',N'007',CONVERT(DATETIME,'2025-6-20 08:15:00',120),35,4.5,2,NULL)");

    const auto rows = connection->CreateRecordset();
    rows->Open("SELECT * FROM tssoc200 WHERE orno= N'001'", CursorType::ForwardOnly, LockType::ReadOnly);

    EXPECT_EQ(rows->Field("orno"), Value(std::string("001")));
    EXPECT_EQ(rows->Field("ccfg"), Value(std::string("007")));
    EXPECT_EQ(rows->Field("ordt"), Value(*platform::ParseIsoDate("2025-06-20 08:15:00")));
    EXPECT_EQ(rows->Field("osta"), Value(platform::Long{35}));
    EXPECT_EQ(rows->Field("ordu"), Value(4.5));
    EXPECT_TRUE(rows->Field("ract").Is<Null>());
    EXPECT_EQ(rows->Field("upd_flag"), Value(platform::Long{0}));
}

TEST_F(Schema, TakesSequenceNumbersQuotedAndUnquoted) {
    connection->Execute(
        "INSERT INTO tsspc200 (ccfg,crac,aseq,oseq,stat,acln) VALUES (N'C1',N'R1',N'7',N'2',N'1',N'10')");

    EXPECT_EQ(connection->Execute(
                  "UPDATE tsspc200 SET upd_flag = 0 WHERE ccfg= N'C1' AND   crac= N'R1' AND   aseq= 7"),
              1);
}

TEST_F(Schema, LetsTheCurrentAssignmentBeDeleted) {
    connection->Execute("INSERT INTO tssoc206 (orno,asln,acln) VALUES (N'O1',1,10)");
    connection->Execute("INSERT INTO tssoc206 (orno,asln,acln) VALUES (N'O1',2,20)");

    const auto rows = connection->CreateRecordset();
    rows->Open("SELECT * FROM tssoc206 WHERE orno= N'O1' AND   asln= 1", CursorType::Keyset,
               LockType::Optimistic);
    ASSERT_EQ(rows->RecordCount(), 1);
    rows->Delete();
    rows->Close();

    EXPECT_EQ(connection->Execute("UPDATE tssoc206 SET upd_flag = 1 "), 1);
}

TEST_F(Schema, TakesExpandedCalendarsByPosition) {
    const Date start = *platform::ParseIsoDate("2025-06-20 07:00:00"), end = platform::AddMinutes(start, 540);
    const auto target = connection->CreateRecordset();
    target->Open("select * from tcccp031 WHERE  1=0", CursorType::Keyset, LockType::Optimistic);
    target->AddNew();
    target->SetField(0, std::string("E00001"));
    target->SetField(1, std::string("WRK"));
    target->SetField(2, start);
    target->SetField(3, end);
    target->Update();
    target->Close();

    const auto rows = connection->CreateRecordset();
    rows->Open("select * from tcccp031", CursorType::ForwardOnly, LockType::ReadOnly);

    EXPECT_EQ(rows->Field("ccal"), Value(std::string("E00001")));
    EXPECT_EQ(rows->Field("ract"), Value(std::string("WRK")));
    EXPECT_EQ(rows->Field("ustm"), Value(start));
    EXPECT_EQ(rows->Field("uftm"), Value(end));
}

// The lines of a file of plain cells.
std::vector<std::vector<std::string>> Lines(const std::string& text) {
    std::vector<std::vector<std::string>> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        std::istringstream cells(line);
        lines.emplace_back();
        for (std::string cell; std::getline(cells, cell, ',');) lines.back().push_back(cell);
    }
    return lines;
}

// The ids that requests name tables by are the numbers of the lines.
TEST(Catalog, NumbersEveryTableThatIsCopied) {
    const auto lines = Lines(Text(kRoot / "schema/catalog.csv"));

    ASSERT_THAT(lines, SizeIs(hosting::Tables().size() + 1));
    EXPECT_THAT(lines[0], ElementsAre("tableid", "productid", "tablename", "ERPTableID", "groupid", "label",
                                      "text", "FilterFlag", "in_use", "reqd"));
    for (std::size_t id = 1; id < lines.size(); ++id) {
        const std::string& table = lines[id].at(2);
        const bool filtered = table == "tssoc200" || table == "tssoc210";
        EXPECT_THAT(lines[id], ElementsAre(std::to_string(id), "1028", table, table, "SYNC",
                                           testing::MatchesRegex("STIT[0-9][0-9][0-9][0-9]"), Not(IsEmpty()),
                                           filtered ? "127" : "0", "0", "1"));
    }
    EXPECT_THAT(lines[18], Contains("tcccp030"));  // the calendar runs go by the calendars' id
}

TEST(Texts, HoldEveryLabelThatTheProgramAsksFor) {
    const std::string texts = Text(IQRX_TEXTS);
    const std::regex label(R"((SLBL|STIT)\d{4})");
    std::set<std::string> labels;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(kRoot / "src")) {
        if (!entry.is_regular_file()) continue;
        const std::string source = Text(entry.path());
        for (std::sregex_iterator at(source.begin(), source.end(), label), end; at != end; ++at) {
            labels.insert(at->str());
        }
    }

    EXPECT_THAT(labels, Not(IsEmpty()));
    for (const std::string& name : labels) {
        EXPECT_THAT(texts, testing::ContainsRegex("<" + name + ">[^<]+</" + name + ">"));
    }
}

}  // namespace
}  // namespace iqrx
