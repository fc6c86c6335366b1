// A request whose database refuses one service object: what is written, logged and told to the caller.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "control/cls_data_copy.h"
#include "platform/sqlite/sqlite_database.h"
#include "support/local_process.h"
#include "tables/calendars/object_pages.h"
#include "tables/routines.h"

namespace iqrx::testing {
namespace {

using namespace std::string_literals;
using platform::Date;
using platform::Integer;
using platform::Long;
using ::testing::HasSubstr;

constexpr Integer kTableId = 9;
constexpr control::TableRoutine kTables[] = {{"tscfg200", tables::CopyServiceObjects}};

struct OutcomeEvents : control::DataCopyEvents {
    std::string error;
    void DataCopyStarted(Date, Integer) override {}
    void DataCopyError(Date, Integer, Integer, const std::string& message) override { error = message; }
    void DataCopyComplete(Date, Integer, Long, Long, Long) override {}
    void DataCopyAlreadyInProgress(Date, Integer) override {}
    void DataCopydone() override {}
};

// The catalog knows service objects; the table refuses the object OB20.
class FailingBatch : public LocalProcess, public ::testing::Test {
protected:
    FailingBatch() {
        platform::ApplySqliteScript(directory.path / "local.db", R"(
            INSERT INTO tstables(tableid,productid,tablename,ERPTableID,in_use) VALUES(9,'1028','tscfg200','tscfg200',0);
            INSERT INTO tstreenodes(tableid,groupid,label) VALUES(9,'SYNC','STIT0015');
            INSERT INTO tsi18ntext(label,text) VALUES('STIT0015','Service Objects');
            INSERT INTO tsparameters(Qrxcal,tvkparam) VALUES(30,0);
            CREATE TRIGGER refusal BEFORE INSERT ON tscfg200 WHEN NEW.crob = 'OB20'
            BEGIN SELECT RAISE(ABORT, 'OB20 is refused'); END;)");
        process.catalog.LoadTableCatalog(process.databases, kConnection, "", runtime::kSqlServer, "SYNC");
        xml.texts = {{"SLBL0456", "The full copy of %1 failed."},
                     {"SLBL0507", "%1: %2"},
                     {"STIT0015", "Service Objects"},
                     {"STIT0095", "Data Copy"}};
        for (int i = 1; i <= 31; ++i)
            erp.records.push_back({{"getConfiguration", "CFG"s},
                                   {"GetObject", "OB" + std::to_string(i)},
                                   {"getObjectNumber", static_cast<Integer>(i)},
                                   {"getDescription", ""s},
                                   {"getObjectGroup", ""s},
                                   {"getServiceEmployee", ""s},
                                   {"getDeliveryCode", ""s}});
        ServeObjectPages(erp);
    }
    void Request() {
        control::clsDataCopy job(process, kTables, {}, events);
        job.StartDataCopy({kConnection, "", kTableId, control::kFull, directory.path.string(), "", 1});
        process.database.OpenDatabase(kConnection, "");
    }

    const std::string kConnection = "Provider=SQLite;Data Source=" + (directory.path / "local.db").string();
    OutcomeEvents events;
};

TEST_F(FailingBatch, LeavesItsObjectsUnwrittenAndTheEarlierOnesWritten) {
    Request();
    std::vector<std::string> firstFifteen;
    for (int i = 1; i <= 15; ++i) firstFifteen.push_back(std::to_string(i));
    EXPECT_EQ(Rows("SELECT * FROM tscfg200 ORDER BY oseq", {"oseq"}), firstFifteen);
}

TEST_F(FailingBatch, IsInTheRunLogAndInTheEvent) {
    Request();
    const std::string log = (directory.path / "tscfg200_20260304.log").string();
    EXPECT_EQ(events.error, "DataCopy Failed, see logfile '" + log + "' for details");
    EXPECT_THAT(Contents(log), HasSubstr("OB20 is refused"));
    EXPECT_THAT(Contents(log), HasSubstr("Data Copy: The full copy of Service Objects failed."));
    EXPECT_EQ(LastUpdate("tscfg200"), "NULL") << "the next copy knows of no successful one";
}

}  // namespace
}  // namespace iqrx::testing
