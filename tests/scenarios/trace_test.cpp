// The statements of a request, to the letter and in order, as QRX_SQL_TRACE shows them.
#include <regex>

#include "scenarios/site.h"

namespace iqrx::testing {
namespace {

// Moments of the run as NOW. What a session or statistics statement affects is the database's own business.
std::vector<std::string> Comparable(const fs::path& trace) {
    std::vector<std::string> lines = Lines(ReadText(trace));
    const std::regex moment("2[0-9]{3}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}");
    const std::regex other(
        R"re((\{"op":"execute","sql":"(?:SET|Alter|UPDATE STATISTICS)[^"]*"),"affected":-?\d+\})re");
    for (std::string& line : lines)
        line = std::regex_replace(std::regex_replace(line, moment, "NOW"), other, "$1}");
    return lines;
}

class Statements : public Site {
protected:
    std::vector<std::string> Of(const Request& request) const {
        const fs::path trace = directory / "trace";
        fs::remove(trace);
        EXPECT_EQ(Service(request, {{"QRX_SQL_TRACE", trace.string()}}).exitCode, 0);
        return Comparable(trace);
    }
    // A (known, an apostrophe in its text) and B (new, without a procedure); then A changed, C new, B gone.
    Statements() {
        Execute("INSERT INTO tsmdm030 (cstp) VALUES ('A'), ('OLD')");
        GivenExtract("tsmdm030.csv", "cstp,desc,proc,ract,dahe\nA,Owner's repair,P1,R,1\nB,Install,,R,2");
        GivenExtract("tsmdm030.audit.csv",
                     "changed_at,change,cstp,desc,proc,ract,dahe\n"
                     "2025-06-20 08:00:00,U,A,Repair,P1,R,2\n"
                     "2025-06-20 08:10:00,I,C,\"Check \"\"all\"\"\",,S,1\n"
                     "2025-06-20 08:20:00,D,B,Install,,R,2");
    }
    void GivenCopiedBeforeTheDay() const {
        Service(FullCopy());
        Execute("UPDATE tstables SET lutm = '2025-06-20 00:00:00' WHERE tablename = 'tsmdm030'");
    }
    static Request OnOracle(Request request) {
        request.platform = "2";
        request.database = "QRX";
        return request;
    }
    static std::vector<std::string> Expected(const std::string& file) {
        return Lines(ReadText(fs::path(IQRX_TRACE_DIRECTORY) / file));
    }
};

TEST_F(Statements, OfAFullCopyForSqlServer) {
    EXPECT_EQ(Of(FullCopy()), Expected("tsmdm030.full.sqlserver.jsonl"));
}

TEST_F(Statements, OfAFullCopyForOracle) {
    EXPECT_EQ(Of(OnOracle(FullCopy())), Expected("tsmdm030.full.oracle.jsonl"));
}

TEST_F(Statements, OfAnIncrementalCopyForSqlServer) {
    GivenCopiedBeforeTheDay();
    EXPECT_EQ(Of(IncrementalCopy()), Expected("tsmdm030.incremental.sqlserver.jsonl"));
}

TEST_F(Statements, OfAnIncrementalCopyForOracle) {
    GivenCopiedBeforeTheDay();
    EXPECT_EQ(Of(OnOracle(IncrementalCopy())), Expected("tsmdm030.incremental.oracle.jsonl"));
}

TEST_F(Statements, ThatChangedNoRowLeaveTheStatisticsAlone) {
    GivenExtract("tsmdm030.audit.csv", "changed_at,change,cstp,desc,proc,ract,dahe");
    for (const std::string& line : Of(IncrementalCopy()))
        EXPECT_THAT(line, ::testing::Not(::testing::HasSubstr("STATISTICS")));
}

}  // namespace
}  // namespace iqrx::testing
