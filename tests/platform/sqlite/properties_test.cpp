#include <gtest/gtest.h>
#include <rapidcheck.h>

#include "batch_texts.h"
#include "fixture.h"

namespace iqrx::platform::sqlite {
namespace {

// Texts that look like pieces of statements, and any others.
rc::Gen<std::string> AwkwardText() {
    const auto piece =
        rc::gen::oneOf(rc::gen::elementOf(std::vector<std::string>{"'",
                                                                   "''",
                                                                   "\r\n",
                                                                   " BEGIN ",
                                                                   " END ",
                                                                   "ELSE",
                                                                   "N'",
                                                                   "--",
                                                                   "/*",
                                                                   ";",
                                                                   "NULL",
                                                                   "?",
                                                                   "CONVERT(DATETIME,'',120)",
                                                                   "@iCount",
                                                                   "1WHERE",
                                                                   "\xC3\xA9\xE6\xBC\xA2",
                                                                   "IF(@iCount) = 0",
                                                                   "\"",
                                                                   "[",
                                                                   "\\",
                                                                   " "}),
                       rc::gen::nonEmpty(rc::gen::container<std::string>(rc::gen::nonZero<char>())));
    return rc::gen::map(rc::gen::container<std::vector<std::string>>(piece),
                        [](const std::vector<std::string>& pieces) {
                            std::string text;
                            for (const std::string& part : pieces) text += part;
                            return text;
                        });
}

std::string Quoted(const std::string& text) {
    std::string result = "N'";
    for (char c : text) result += c == '\'' ? "''" : std::string(1, c);
    return result + "'";
}

std::string WithoutOuterQuotes(const std::string& quoted) { return quoted.substr(2, quoted.size() - 3); }

class Properties : public DatabaseTest {
protected:
    Properties() {
        Create(
            "CREATE TABLE t(a TEXT, b TEXT, c INTEGER);"
            "CREATE TABLE tscfg200(ccfg TEXT, crob TEXT, oseq INTEGER, dsca TEXT, upd_flag INTEGER,"
            "                      PRIMARY KEY(ccfg, crob, oseq)) WITHOUT ROWID;");
    }
};

TEST_F(Properties, AnyTextComesBackUnchanged) {
    EXPECT_TRUE(rc::check([&] {
        const std::string first = *AwkwardText(), second = *AwkwardText();
        Execute("DELETE FROM t");
        Execute("INSERT INTO t (a,b,c) VALUES (" + Quoted(first) + "," + Quoted("") + ",0)");
        RC_ASSERT(Execute("UPDATE t SET b = " + Quoted(second) + ", c = 1WHERE a = " + Quoted(first)) == 1);
        auto rows = Select("SELECT * FROM t WHERE a= " + Quoted(first));
        RC_ASSERT(rows->Field("a") == Value(first));
        RC_ASSERT(rows->Field("b") == Value(second));
    }));
}

TEST_F(Properties, BatchesLeaveTheRowsThatSingleUpsertsLeave) {
    EXPECT_TRUE(rc::check([&] {
        struct Object {
            std::string ccfg, dsca;
            int oseq;
        };
        std::vector<Object> objects;
        for (int i = *rc::gen::inRange(0, 40); i > 0; --i)
            objects.push_back({*rc::gen::elementOf(std::vector<std::string>{"A", "B", "'"}), *AwkwardText(),
                               *rc::gen::inRange(0, 3)});

        Execute("truncate table tscfg200");
        for (const Object& object : objects) {
            const std::string key = " WHERE ccfg= " + Quoted(object.ccfg) + " AND crob= N'X' AND oseq= N'" +
                                    std::to_string(object.oseq) + "'";
            if (Execute("UPDATE  tscfg200 SET  dsca =" + Quoted(object.dsca) + ",upd_flag = 0" + key) == 0)
                Execute("INSERT INTO tscfg200 (ccfg, crob, oseq, dsca, upd_flag) VALUES(" + Quoted(object.ccfg) +
                        ",N'X',N'" + std::to_string(object.oseq) + "'," + Quoted(object.dsca) + ",0)");
        }
        const auto wanted = Rows("SELECT * FROM tscfg200", 5);

        Execute("truncate table tscfg200");
        const bool oracle = *rc::gen::arbitrary<bool>();
        const std::string declaration = oracle ? "DECLARE \r\n iCount NUMBER;\r\n" : "DECLARE @iCount int\r\n";
        std::string batch;
        int blocks = 0;
        auto send = [&] {
            if (blocks > 0) RC_ASSERT(Execute(declaration + batch) == blocks);
            batch.clear();
            blocks = 0;
        };
        for (const Object& object : objects) {
            batch += (oracle ? OracleBlock : SqlServerBlock)(
                WithoutOuterQuotes(Quoted(object.ccfg)), object.oseq, WithoutOuterQuotes(Quoted(object.dsca)));
            if (++blocks == 15) send();
        }
        send();
        RC_ASSERT(Rows("SELECT * FROM tscfg200", 5) == wanted);
    }));
}

}  // namespace
}  // namespace iqrx::platform::sqlite
