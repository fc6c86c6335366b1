#include "engine/copy_pattern.h"
#include "engine/record_statements.h"
#include "platform/conversions.h"
#include "tables/definitions.h"
#include "tables/routines.h"

namespace iqrx::tables {

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

namespace {

constexpr Long kPageSize = 750;

// What the server does with one object: it counts the object's rows and inserts or updates.
consteval TableStatement Block(const Table& table, const runtime::BlockFrame& frame) {
    TableStatement block;
    const auto append = [&](std::string_view text, const TableStatement& statement) {
        block.pieces.Append({text});
        for (const platform::Piece& piece : statement.pieces) block.pieces.Append(piece);
        for (const std::uint8_t column : statement.columns) block.columns.Append(column);
    };
    append(frame.open, table.count);
    append(frame.test, table.insert);
    append(frame.otherwise, table.update);
    append(frame.close, {});
    return block;
}

constexpr TableStatement kSqlServerBlock = Block(kServiceObjects, runtime::kSqlServerBlock);
constexpr TableStatement kOracleBlock = Block(kServiceObjects, runtime::kOracleBlock);

// Collects the blocks of objects and executes them fifteen at a time, the declaration in front.
class BlockBatch {
public:
    BlockBatch(CopyRun& run, const std::string& tableName)
        : run_(run),
          tableName_(tableName),
          block_(&run.Database().Speaks().block == &runtime::kSqlServerBlock ? kSqlServerBlock : kOracleBlock) {
    }

    void BuildServiceObjectBlock(const ObjectRef& object) {
        RecordStatements statements(kServiceObjects, *object, tableName_, run_.Literals());
        statements.AppendValues(block_, values_);
        kept_.splice_after(kept_.before_begin(), statements.TakeKept());
        objects_.push_back(object);
        control::Add(run_.counters.inserted, 1);
        if (objects_.size() == kBlocksPerBatch) Execute();
    }
    void Execute() {
        if (objects_.empty()) return;
        run_.Database().Execute({block_.Shape(run_.Database().Speaks().batchOpening), tableName_, values_});
        values_.clear();
        kept_.clear();
        objects_.clear();
    }

private:
    static constexpr std::size_t kBlocksPerBatch = 15;

    CopyRun& run_;
    const std::string& tableName_;
    const TableStatement& block_;
    std::vector<Literal> values_;  // of the blocks, one after the other
    KeptValues kept_;              // with the objects, what the values' texts lie in
    std::vector<ObjectRef> objects_;
};

// Where a listing stands: the last object's key, and what the page says of it.
struct Listing {
    Value configuration = std::string(), object = std::string(), objectNumber = Integer{0};
    Value callId = Long{0}, setComplete = std::string("N");

    // Nothing where the ERP returns no page.
    ObjectRef NextPage(Object& manager) {
        return platform::ObjectOrNothing(Call(manager, "ListObjects", configuration, object, objectNumber,
                                              kPageSize, ByRef{callId}, ByRef{setComplete}));
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
    BlockBatch batch(run, tableName);
    held.record.reset();
    for (Long i = 0; i < size; ++i) {
        held.record = platform::ToObject(Call(*objects, "getObjectsAt", i));
        batch.BuildServiceObjectBlock(held.record);
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
        const Literal startTime = run.Literals().CurrentTimeLiteral();
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

}  // namespace iqrx::tables
