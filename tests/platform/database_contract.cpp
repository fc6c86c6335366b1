#include "platform/database_contract.h"

#include <ostream>

#include "platform/conversions.h"
#include "platform/date.h"

namespace iqrx::platform {

void PrintTo(const Value& value, std::ostream* out) {
    constexpr const char* kTypes[] = {"Empty",  "Null",   "Boolean", "Byte",   "Integer", "Long",
                                      "Single", "Double", "Date",    "String", "Object"};
    *out << kTypes[value.index()];
    if (value.Is<Date>())
        *out << ' ' << IsoDateTime(value.As<Date>());
    else if (!value.Is<Empty>() && !value.Is<Null>() && !value.Is<ObjectRef>())
        *out << ' ' << ToText(value).substr(0, 200);
}

}  // namespace iqrx::platform

namespace iqrx::testing {

using namespace iqrx::platform;

namespace {

const std::vector<std::string> kColumns{"id", "name", "note", "made", "ratio"};

std::string Literal(const Value& value) {
    if (value.Is<Null>()) return "NULL";
    if (value.Is<Date>()) return "'" + IsoDateTime(value.As<Date>()) + "'";
    if (!value.Is<std::string>()) return ToText(value);
    std::string literal = "'";
    for (char c : value.As<std::string>()) literal += c == '\'' ? "''" : std::string(1, c);
    return literal + "'";
}

}  // namespace

std::string ServerBlock(const std::string& table, int id) {
    const std::string key = " WHERE id= " + std::to_string(id);
    return "\r\n BEGIN \r\n\r\nselect @iCount = count(*)  from " + table + key +
           " IF(@iCount) = 0\r\n BEGIN \r\n\r\nINSERT INTO " + table + " (id,name) VALUES(" +
           std::to_string(id) + ",N'new')\r\n END \r\n ELSE \r\n BEGIN\r\n\r\nUPDATE  " + table +
           " SET name =N'new'" + key + "\r\n END \r\n END\r\n\r\n";
}

std::vector<Value> Item(Long id, const Value& name, const Value& note, const Value& made, const Value& ratio) {
    return {id, name, note, made, ratio};
}

void DatabaseContract::SetUp() {
    adapter = GetParam().make();
    connection = Connect();
}

std::unique_ptr<Connection> DatabaseContract::Connect() {
    auto made = adapter->CreateConnection();
    made->SetConnectionTimeout(0);
    made->SetCommandTimeout(0);
    made->Open(adapter->ConnectionString());
    return made;
}

void DatabaseContract::GivenItems(const std::vector<std::vector<Value>>& rows) {
    const auto items = std::make_shared<Rows>(Rows{kColumns, rows});
    for (const char* text : {"SELECT id, name, note, made, ratio FROM items ORDER BY id",
                             "SELECT * FROM items", "SELECT * FROM items WHERE 1=0"})
        adapter->Tell(text, items);
    Define("CREATE TABLE items (id INTEGER NOT NULL PRIMARY KEY, name VARCHAR(40), note TEXT, made " +
           adapter->GetQuirks().momentType + ", ratio DOUBLE PRECISION)");
    for (const auto& row : rows) {
        std::string values;
        for (const Value& value : row) values += (values.empty() ? "" : ", ") + Literal(value);
        connection->Execute("INSERT INTO items (id, name, note, made, ratio) VALUES (" + values + ")");
    }
}

std::unique_ptr<Recordset> DatabaseContract::Open(const std::string& text, CursorType cursor, LockType lock) {
    auto recordset = connection->CreateRecordset();
    recordset->Open(text, cursor, lock);
    return recordset;
}

std::vector<std::vector<Value>> DatabaseContract::Items() {
    std::vector<std::vector<Value>> rows;
    for (auto all = Open("SELECT id, name, note, made, ratio FROM items ORDER BY id"); !all->Eof();
         all->MoveNext()) {
        rows.emplace_back();
        for (int i = 0; i < 5; ++i) rows.back().push_back(all->Field(i));
    }
    return rows;
}

std::string FrameContract::Insert(int id) {
    return "INSERT INTO items (id, name) VALUES (" + std::to_string(id) + ", 'old')";
}

void FrameContract::Add(int id) {
    auto target = Open("SELECT * FROM items WHERE 1=0", CursorType::Keyset, LockType::Optimistic);
    target->AddNew();
    target->SetField(0, Long{id});
    target->Update();
    target->Close();
}

std::vector<int> FrameContract::KeysThatOthersSee() {
    std::vector<int> keys;
    const auto other = Connect();
    const auto rows = other->CreateRecordset();
    for (rows->Open("SELECT id FROM items ORDER BY id", CursorType::ForwardOnly, LockType::ReadOnly);
         !rows->Eof(); rows->MoveNext())
        keys.push_back(ToLong(rows->Field(0)));
    return keys;
}

void HeardAnswers::Executed(std::int32_t affected) { said.push_back("executed " + std::to_string(affected)); }
void HeardAnswers::Updated(std::int32_t affected) { said.push_back("updated " + std::to_string(affected)); }
void HeardAnswers::Inserted(std::int32_t affected) { said.push_back("inserted " + std::to_string(affected)); }
void HeardAnswers::Failed(const platform::RuntimeError&) { said.emplace_back("failed"); }
void HeardAnswers::NotSent() { said.emplace_back("not sent"); }

void AnswersContract::Upsert(int id, const std::string& name) {
    const std::string key = std::to_string(id);
    const std::string update = "UPDATE items SET name = '" + name + "' WHERE id = " + key;
    const std::string insert = "INSERT INTO items (id, name) VALUES (" + key + ", '" + name + "')";
    connection->Upsert(
        update, [&] { return platform::Statement(insert); }, heard);
}

std::vector<std::string> AnswersContract::Names() {
    std::vector<std::string> names;
    for (const auto& item : Items()) names.push_back(platform::ToText(item.at(1)));
    return names;
}

}  // namespace iqrx::testing
