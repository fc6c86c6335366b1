// Service objects in the local database: what a full copy's blocks leave is what single upserts leave.
#include <gtest/gtest.h>
#include <rapidcheck.h>

#include "support/local_process.h"
#include "tables/calendars/object_pages.h"
#include "tables/routines.h"

namespace iqrx::testing {
namespace {

using namespace std::string_literals;
using platform::Integer;

const std::vector<std::string> kColumns = {"ccfg", "crob", "oseq", "dsca", "cogr",    "emno",
                                           "cusc", "manu", "ccal", "cdel", "upd_flag"};

// Words of the blocks themselves, quotes, line breaks, and plain text between them.
rc::Gen<std::string> AwkwardText() {
    const auto piece = rc::gen::elementOf(std::vector<std::string>{
        "'", "''", "\r\n", " BEGIN ", " END ", "END IF;", " ELSE ", "IF(@iCount) = 0", "N'", ";", "--", "/*",
        "select @iCount = count(*)  from tscfg200 ", "DECLARE @iCount int", "pump", " ", "\xC3\xA9"});
    return rc::gen::map(rc::gen::container<std::vector<std::string>>(piece),
                        [](const std::vector<std::string>& pieces) {
                            std::string text;
                            for (const std::string& part : pieces) text += part;
                            return text;
                        });
}

// Few different keys, so that objects meet rows that are there.
Fields AnyObject() {
    const auto code = rc::gen::elementOf(std::vector<std::string>{"A", "B", "O'C", "BEGIN"});
    return {{"getConfiguration", *code},
            {"GetObject", *code},
            {"getObjectNumber", *rc::gen::inRange<Integer>(-1, 3)},
            {"getDescription", *AwkwardText()},
            {"getObjectGroup", *AwkwardText()},
            {"getServiceEmployee", *AwkwardText()},
            {"getDeliveryCode", *AwkwardText()}};
}

std::vector<Fields> AnyObjects() {
    std::vector<Fields> objects;
    for (int i = *rc::gen::inRange(0, 40); i > 0; --i) objects.push_back(AnyObject());
    return objects;
}

class LocalServiceObjects : public LocalProcess, public ::testing::Test {
protected:
    void GivenRows(const std::vector<Fields>& objects) {
        Execute("DELETE FROM tscfg200 WHERE 1=1");
        Upsert(objects);
    }
    void Upsert(const std::vector<Fields>& objects) {
        for (const Fields& object : objects)
            tables::UpsertServiceObject({run, "tscfg200", "", 1}, *erp.MakeRecord(object, "object"));
        process.database.AwaitAnswers();  // the counts of the copy that follows are its own
    }
    void CopyFull(const std::vector<Fields>& objects) {
        erp.records = objects;
        ServeObjectPages(erp);
        tables::CopyServiceObjects({run, "tscfg200", "run parameter", 1});
    }
    std::vector<std::string> Table() {
        return Rows("SELECT * FROM tscfg200 ORDER BY ccfg, crob, oseq", kColumns);
    }
};

TEST_F(LocalServiceObjects, AreTheSameAfterBlocksAsAfterUpserts) {
    EXPECT_TRUE(rc::check([&] {
        const std::vector<Fields> before = AnyObjects(), copied = AnyObjects();
        Reopen(*rc::gen::elementOf(LocalPlatforms()));
        GivenRows(before);
        Upsert(copied);
        const std::vector<std::string> wanted = Table();
        GivenRows(before);
        CopyFull(copied);
        RC_ASSERT(Table() == wanted);
        RC_ASSERT(run.counters.inserted == static_cast<platform::Long>(copied.size()));
    }));
}

TEST_F(LocalServiceObjects, LoseTheirCustomerManufacturerAndCalendar) {
    Execute(
        "INSERT INTO tscfg200 (ccfg, crob, oseq, dsca, cogr, emno, cusc, manu, ccal, cdel, upd_flag) "
        "VALUES(N'C',N'O',N'1',N'old',N'G',N'E',N'CU',N'MA',N'CA',N'D',0)");
    CopyFull({{{"getConfiguration", "C"s},
               {"GetObject", "O"s},
               {"getObjectNumber", Integer{1}},
               {"getDescription", "new"s},
               {"getObjectGroup", "G"s},
               {"getServiceEmployee", "E"s},
               {"getDeliveryCode", "D"s}}});
    EXPECT_EQ(Table(), std::vector<std::string>{"C|O|1|new|G|E||||D|0"});
}

}  // namespace
}  // namespace iqrx::testing
