#include "platform/watch/statement_meaning.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <ostream>

#include "control/control_tables.h"
#include "runtime/sql.h"

namespace iqrx::platform::watch {

void PrintTo(Deed deed, std::ostream* out) { *out << "deed " << static_cast<int>(deed); }

namespace {

Deed OnCopiedRows(std::string_view text) { return MeaningOf(text).OnCopiedRows(); }

TEST(TheMeaningOfAStatement, IsThatOfItsText) {
    EXPECT_EQ(OnCopiedRows("UPDATE tsmdm030 SET upd_flag = 1 "), Deed::Mark);
    EXPECT_EQ(OnCopiedRows("UPDATE tcccp030 SET upd_flag=1"), Deed::Mark);
    EXPECT_EQ(OnCopiedRows("DELETE FROM tsmdm030 WHERE upd_flag = 1"), Deed::Sweep);
    EXPECT_EQ(OnCopiedRows("UPDATE  tccom130 SET  nama =N'x',upd_flag = 0 WHERE cadr =N'A'"), Deed::Update);
    EXPECT_EQ(OnCopiedRows("UPDATE tsmdm000 SET skla = N'S1',upd_flag =0 "), Deed::Update);
    EXPECT_EQ(OnCopiedRows("INSERT INTO tssoc200(orno, ccfg) VALUES( N'O1',N'C')"), Deed::Insert);
    EXPECT_EQ(OnCopiedRows("DELETE FROM tssoc200  WHERE orno= N'O1'"), Deed::Delete);
    EXPECT_EQ(OnCopiedRows("DELETE FROM tcccp030 WHERE ccal = N'C1'"), Deed::Replace);
    EXPECT_EQ(OnCopiedRows("DELETE FROM tcccp031 WHERE ccal = N'C1'"), Deed::Replace);
    EXPECT_EQ(OnCopiedRows("truncate table tcccp031 "), Deed::Replace);
    EXPECT_EQ(OnCopiedRows("select * from tcccp031 WHERE  1=0"), Deed::Read);
}

TEST(TheMeaningOfAStatement, NamesItsTableAsWrittenAndBare) {
    const Meaning meaning = MeaningOf("DELETE FROM dbo.[TsMdm030] WHERE cstp= N'A'");
    EXPECT_EQ(meaning.name, "dbo.[TsMdm030]");
    EXPECT_EQ(meaning.table, "tsmdm030");
    EXPECT_EQ(MeaningOf("select * from tcccp031 WHERE  1=0").table, "tcccp031");
}

TEST(TheMeaningOfAStatement, IsNothingForCopiedRowsOnControlTables) {
    for (const std::string& table : control::CoordinatingTables()) {
        EXPECT_EQ(MeaningOf("UPDATE " + table + " SET in_use = 0WHERE tablename = N'x'").kind, TableKind::Control)
            << table;
        EXPECT_EQ(OnCopiedRows("DELETE FROM " + table + " WHERE tablename = N'x'"), Deed::Other);
    }
}

TEST(TheMeaningOfAStatement, IsNothingForCopiedRowsOnChangeLogs) {
    EXPECT_EQ(OnCopiedRows("DELETE FROM tssoc200_audit WHERE orno= N'O1'"), Deed::Other);
    EXPECT_EQ(OnCopiedRows("INSERT INTO tssoc206_audit(orno,acln) VALUES( N'O1',70)"), Deed::Other);
    EXPECT_EQ(OnCopiedRows("DELETE FROM tssoc210_audit"), Deed::Other);
}

TEST(TheMeaningOfAStatement, IsNothingForSettingsAndStatistics) {
    for (const char* text : {"SET DATEFORMAT YMD", "UPDATE STATISTICS tsmdm030", "",
                             "Alter session set current_schema= x", "DELETE", "INSERT", "UPDATE t"})
        EXPECT_EQ(OnCopiedRows(text), Deed::Other) << text;
}

TEST(TheMeaningOfAShape, IsThatOfItsTextOnEachTable) {
    constexpr runtime::Sql<0> kMark = "UPDATE {table} SET upd_flag = 1 ";
    constexpr runtime::Sql<0> kPurge = "DELETE FROM {table}_audit";
    constexpr runtime::Sql<1> kDelete = "DELETE FROM {table} WHERE cstp= {cstp}";
    Meanings meanings;
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(meanings.Of(kMark.On("tsmdm030")).OnCopiedRows(), Deed::Mark);
        EXPECT_EQ(meanings.Of(kMark.On("tssoc200")).table, "tssoc200");
        EXPECT_EQ(meanings.Of(kPurge.On("tssoc200")).kind, TableKind::ChangeLog);
        EXPECT_EQ(meanings.Of(kDelete.On("tsmdm030", Literal::Text("1"))).OnCopiedRows(), Deed::Delete);
    }
}

TEST(TheCountOfDoomedRows, HasTheConditionOfTheDelete) {
    EXPECT_EQ(CountOfDoomed("DELETE FROM tssoc200  WHERE orno= N'from O''1'"),
              "SELECT count(*) FROM tssoc200  WHERE orno= N'from O''1'");
}

// The statement in a line of a golden file.
std::string TextOf(const std::string& line) {
    const std::size_t begin = line.find('[') + 1;
    std::string text = line.substr(begin, line.rfind(']') - begin);
    for (std::size_t at; (at = text.find("\\r\\n")) != std::string::npos;) text.replace(at, 4, "\r\n");
    return text;
}

TEST(TheMeaningOfEveryStatementOfACopy, IsKnown) {
    int statements = 0;
    for (const auto& file : std::filesystem::directory_iterator(IQRX_GOLDEN_DIRECTORY)) {
        const std::string table = file.path().filename().string().substr(0, 8);
        std::ifstream lines(file.path());
        for (std::string line; std::getline(lines, line);) {
            if (!line.starts_with("execute ") && !line.starts_with("open ")) continue;
            const Meaning meaning = MeaningOf(TextOf(line));
            EXPECT_NE(meaning.deed, Deed::Other) << file.path() << ": " << line;
            EXPECT_FALSE(meaning.table.empty()) << file.path() << ": " << line;
            const bool isWrite = line.starts_with("execute ") && meaning.kind == TableKind::Copied;
            if (isWrite) {
                EXPECT_EQ(meaning.table.substr(0, 7), table.substr(0, 7)) << line;
            }
            ++statements;
        }
    }
    EXPECT_GT(statements, 500);
}

TEST(ABatch, HasTheObjectsThatItsTextCounts) {
    for (const char* name : {"tscfg200.full.sqlserver.txt", "tscfg200.full.oracle.txt"}) {
        std::ifstream lines(std::filesystem::path(IQRX_GOLDEN_DIRECTORY) / name);
        int batches = 0;
        for (std::string line; std::getline(lines, line);) {
            const std::string text = TextOf(line);
            const Meaning meaning = MeaningOf(text);
            if (meaning.deed != Deed::Batch) continue;
            EXPECT_EQ(meaning.table, "tscfg200");
            EXPECT_EQ(SetsOf(text, meaning), 2u) << "CFG1 and CFG2";
            ++batches;
        }
        EXPECT_EQ(batches, 1) << name;
    }
}

}  // namespace
}  // namespace iqrx::platform::watch
