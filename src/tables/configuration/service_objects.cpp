#include "engine/copy_pattern.h"
#include "engine/statement_texts.h"
#include "platform/conversions.h"
#include "tables/configuration/configuration.h"

namespace iqrx::tables {

namespace {

using namespace engine;
using platform::ByRef;
using platform::Call;
using platform::Long;
using platform::Value;

constexpr Table kServiceObjects = Checked({
    .name = "tscfg200",
    .titleLabel = "STIT0015",
    // The customer, the manufacturer and the calendar are not taken over.
    .columns = {{"ccfg", "getConfiguration", kText},
                {"crob", "GetObject", kText},
                {"oseq", "getObjectNumber", kQuotedWhole},
                {"oseqUnquoted", "getObjectNumber", kWhole16, "oseq"},
                {"dsca", "getDescription", kText, "desc"},
                {"cogr", "getObjectGroup", kText},
                {"emno", "getServiceEmployee", kText},
                {"cusc", "getCustomer", kEmptyText},
                {"manu", "getManufacturer", kEmptyText},
                {"ccal", "getCalendarCode", kEmptyText},
                {"cdel", "getDeliveryCode", kText}},
    .auditKeys = {{"ccfg", UpTo(8)}, {"crob", UpTo(47)}, {"oseq", Between("0000", "9999")}},
    .outputFields = {"ccfg", "crob", "oseq", "desc", "cogr", "emno", "cusc", "manu", "ccal", "cdel"},
    .update = "UPDATE  {table} SET  ccfg ={ccfg},crob ={crob},oseq ={oseq},dsca ={dsca},cogr ={cogr},"
              "emno ={emno},cusc ={cusc},manu ={manu},ccal ={ccal},cdel ={cdel},upd_flag = 0"
              " WHERE ccfg= {ccfg} AND crob= {crob} AND oseq= {oseq}",
    .insert = "INSERT INTO {table} (ccfg, crob, oseq, dsca, cogr, emno, cusc, manu, ccal, cdel, upd_flag) "
              "VALUES({ccfg},{crob},{oseq},{dsca},{cogr},{emno},{cusc},{manu},{ccal},{cdel},0)",
    .remove = "DELETE FROM {table} WHERE ccfg= {ccfg} AND crob= {crob} AND oseq= {oseq}",
    .count = "select @iCount = count(*)  from tscfg200  WHERE ccfg= {ccfg} AND crob= {crob} AND oseq= "
             "{oseqUnquoted}",
});

constexpr int kBlocksPerBatch = 15;
constexpr Long kPageSize = 750;

// What stands around the statements of a block.
struct BlockFrame {
    std::string_view open, test, otherwise, close;
};
constexpr BlockFrame kSqlServerFrame{"\r\n BEGIN \r\n", " IF(@iCount) = 0\r\n BEGIN \r\n",
                                     " END \r\n ELSE \r\n BEGIN\r\n", " END \r\n END\r\n"};
constexpr BlockFrame kOracleFrame{"\r\nBEGIN\r\n", "IF(iCount) = 0 THEN\r\n", "ELSE\r\n", "END IF;\r\nEND;"};

// Collects blocks and executes them fifteen at a time, the declaration in front.
class BlockBatch {
public:
    explicit BlockBatch(CopyRun& run) : run_(run) {}

    void Add(const std::string& block) {
        blocks_ += block;
        if (++count_ == kBlocksPerBatch) Execute();
    }
    void Execute() {
        if (blocks_.empty()) return;
        run_.Database().Execute(Declaration() + blocks_);
        blocks_.clear();
        count_ = 0;
    }

private:
    std::string Declaration() const {
        return run_.Database().Platform() == runtime::kOracle ? "DECLARE \r\n iCount NUMBER;\r\n"
                                                              : "DECLARE @iCount int\r\n";
    }

    CopyRun& run_;
    std::string blocks_;
    int count_ = 0;
};

// Where a listing stands: the last object's key, and what the page says of it.
struct Listing {
    Value configuration = std::string(), object = std::string(), objectNumber = Integer{0};
    Value callId = Long{0}, setComplete = std::string("N");

    // Nothing where the ERP answers no page.
    ObjectRef NextPage(Object& manager) {
        const Value page = Call(manager, "ListObjects", configuration, object, objectNumber, kPageSize,
                                ByRef{callId}, ByRef{setComplete});
        return page.Is<ObjectRef>() ? page.As<ObjectRef>() : ObjectRef();
    }
    bool IsComplete() const { return platform::ToText(setComplete) == "Y"; }
    // Raises "object not set" for a page without objects that is not the last: there is no key to go on from.
    void ContinueAfter(Object& page, const ObjectRef& lastObject) {
        setComplete = page.Get("getSetComplete");
        if (IsComplete()) return;
        Object& last = *platform::ToObject(lastObject);
        configuration = last.Get("getConfiguration");
        object = last.Get("GetObject");
        objectNumber = last.Get("getObjectNumber");
        callId = page.Get("getCallId");
        setComplete = page.Get("getSetComplete");
    }
};

// The objects of the page that is held as blocks, the page's rest executed. The last object stays held.
void CopyPage(CopyRun& run, HeldObjects& held, const std::string& tableName) {
    const ObjectRef objects = platform::ToObject(held.enumerator->Get("getRecordSetObjects"));
    const Long size = platform::ToLong(objects->Get("sizeObjects"));
    BlockBatch batch(run);
    held.record.reset();
    for (Long i = 0; i < size; ++i) {
        held.record = platform::ToObject(Call(*objects, "getObjectsAt", i));
        batch.Add(BuildServiceObjectBlock(run, *held.record, tableName));
    }
    batch.Execute();
}

}  // namespace

void CopyServiceObjects(const TableCall& call) {
    ChooseCopy(call, CopyServiceObjectsFull, CopyServiceObjectsIncremental);
}

// Neither marks nor sweeps: the objects come in pages and go to the server in batches of blocks.
void CopyServiceObjectsFull(const TableCall& call) {
    CopyRun& run = call.run;
    FullCopy(call, kServiceObjects, [&](HeldObjects& held) {
        run.process.controlTables.GetFilterFlag(call.tableName);  // objects have no status that it could select
        Listing listing;
        held.enumerator = listing.NextPage(*held.manager);
        const std::string startTime = run.Literals().CurrentTimeLiteral();
        if (!held.enumerator) return;
        while (held.enumerator) {
            CopyPage(run, held, call.tableName);
            listing.ContinueAfter(*held.enumerator, held.record);
            held.enumerator = listing.IsComplete() ? ObjectRef() : listing.NextPage(*held.manager);
        }
        StampAndLogFullCopy(call, startTime);
    });
}

void CopyServiceObjectsIncremental(const TableCall& call) {
    IncrementalCopy(call, kServiceObjects, UpsertServiceObject);
}

void UpsertServiceObject(const TableCall& call, Object& record) { Upsert(call, kServiceObjects, record); }

std::string BuildServiceObjectBlock(CopyRun& run, Object& record, const std::string& tableName) {
    StatementTexts texts(kServiceObjects, record, tableName, run.Literals());
    const BlockFrame& frame = run.Database().Platform() == runtime::kSqlServer ? kSqlServerFrame : kOracleFrame;
    std::string block(frame.open);
    block.append("\r\n").append(texts.Text(kServiceObjects.count));
    block.append(frame.test).append("\r\n").append(texts.Text(kServiceObjects.insert)).append("\r\n");
    block.append(frame.otherwise).append("\r\n").append(texts.Text(kServiceObjects.update)).append("\r\n");
    block.append(frame.close).append("\r\n");
    control::Add(run.counters.inserted, 1);
    return block;
}

}  // namespace iqrx::tables
