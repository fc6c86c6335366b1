#include "support/twin_database.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <algorithm>
#include <bit>
#include <exception>

#include "platform/conversions.h"
#include "platform/database_wrapper.h"
#include "platform/date.h"
#include "platform/sqlite/sqlite_database.h"

namespace iqrx::testing {

using namespace platform;

namespace {

// What an action says: its number, or its error.
struct Said {
    std::int32_t number = 0;
    std::string error;
    bool operator==(const Said&) const = default;
};
void PrintTo(const Said& said, std::ostream* out) {
    *out << (said.error.empty() ? std::to_string(said.number) : said.error);
}

template <class Action>
Said SaidBy(Action action) {
    try {
        return {action(), {}};
    } catch (const RuntimeError& error) {
        return {error.number, error.description};
    }
}

// What two databases of different kinds say must be a number or an error of both.
bool Agree(const Said& first, const Said& second, bool ofAKind) {
    return ofAKind ? first == second
                   : first.error.empty() == second.error.empty() &&
                         (!first.error.empty() || first.number == second.number);
}

class TwinRecordset : public RecordsetWrapper {
public:
    TwinRecordset(std::unique_ptr<Recordset> first, std::unique_ptr<Recordset> second, bool takesTexts,
                  TwinDatabases& twins)
        : RecordsetWrapper(std::move(first)),
          second_(std::move(second)),
          takesTexts_(takesTexts),
          twins_(twins) {}

    void Open(const platform::Statement& source, CursorType cursor, LockType lock) override {
        ++twins_.statements;
        Wrapped().Open(source, cursor, lock);
        if (takesTexts_)
            second_->Open(source.Text(), cursor, lock);
        else
            second_->Open(source, cursor, lock);
        EXPECT_EQ(Wrapped().Bof(), second_->Bof()) << source.Text();
    }
    void Close() override {
        Wrapped().Close();
        second_->Close();
    }
    std::int32_t RecordCount() override {
        EXPECT_EQ(Wrapped().RecordCount(), second_->RecordCount());
        return Wrapped().RecordCount();
    }
    void MoveFirst() override {
        Wrapped().MoveFirst();
        second_->MoveFirst();
    }
    void MoveNext() override {
        Wrapped().MoveNext();
        second_->MoveNext();
    }
    Value Field(std::string_view name) override {
        const Value value = Wrapped().Field(name);
        EXPECT_TRUE(value == second_->Field(name)) << name;
        return value;
    }
    void AddNew() override {
        Wrapped().AddNew();
        second_->AddNew();
    }
    void SetField(int position, const Value& value) override {
        Wrapped().SetField(position, value);
        second_->SetField(position, value);
    }
    void Update() override {
        Wrapped().Update();
        second_->Update();
    }
    void Delete() override {
        Wrapped().Delete();
        second_->Delete();
    }

private:
    std::unique_ptr<Recordset> second_;
    const bool takesTexts_;
    TwinDatabases& twins_;
};

class TwinConnection : public ConnectionWrapper {
public:
    TwinConnection(const Twin& first, const Twin& second, bool ofAKind, TwinDatabases& twins)
        : ConnectionWrapper(first.make()),
          firstKeys_(first.connectionString),
          secondKeys_(second.connectionString),
          takesTexts_(second.takesTexts),
          ofAKind_(ofAKind),
          second_(second.make()),
          twins_(twins) {}

    void Open(const std::string&) override {
        Wrapped().Open(firstKeys_);
        second_->Open(secondKeys_);
    }
    void Close() override {
        Wrapped().Close();
        second_->Close();
    }
    std::int32_t Execute(const platform::Statement& statement) override {
        ++twins_.statements;
        if (!statement.CanBeBound()) twins_.unbound.emplace_back(statement.Text());
        std::exception_ptr failure;
        const Said bound = SaidBy([&] {
            try {
                return Wrapped().Execute(statement);
            } catch (...) {
                failure = std::current_exception();
                throw;
            }
        });
        const Said other = SaidBy(
            [&] { return takesTexts_ ? second_->Execute(statement.Text()) : second_->Execute(statement); });
        EXPECT_TRUE(Agree(bound, other, ofAKind_))
            << statement.Text() << ::testing::PrintToString(bound) << ::testing::PrintToString(other);
        if (failure) std::rethrow_exception(failure);
        return bound.number;
    }
    void Commit() override {
        Wrapped().Commit();
        second_->Commit();
    }
    void RunAsUnit(const Work& work) override {
        Wrapped().RunAsUnit([&] { second_->RunAsUnit(work); });
    }
    void RunExclusively(const Work& work) override {
        Wrapped().RunExclusively([&] { second_->RunExclusively(work); });
    }
    std::unique_ptr<Recordset> CreateRecordset() override {
        return std::make_unique<TwinRecordset>(Wrapped().CreateRecordset(), second_->CreateRecordset(),
                                               takesTexts_, twins_);
    }

private:
    const std::string firstKeys_, secondKeys_;
    const bool takesTexts_, ofAKind_;
    std::unique_ptr<Connection> second_;
    TwinDatabases& twins_;
};

std::vector<std::string> Select(sqlite3* database, const std::string& sql) {
    std::vector<std::string> rows;
    const auto add = [](void* into, int count, char** values, char**) {
        std::string row;
        for (int i = 0; i < count; ++i) row += std::string(values[i] ? values[i] : "") + "|";
        static_cast<std::vector<std::string>*>(into)->push_back(row);
        return 0;
    };
    EXPECT_EQ(sqlite3_exec(database, sql.c_str(), add, &rows, nullptr), SQLITE_OK) << sql;
    return rows;
}

// Every value of every table with its type; the values of a real number's bits are its digits.
std::vector<std::string> Contents(const std::filesystem::path& file) {
    sqlite3* database = nullptr;
    EXPECT_EQ(sqlite3_open(file.c_str(), &database), SQLITE_OK);
    std::vector<std::string> contents;
    for (std::string table :
         Select(database, "SELECT name FROM sqlite_master WHERE type='table' ORDER BY name")) {
        table.pop_back();
        if (table.starts_with("sqlite_")) continue;  // statistics
        std::string values;
        for (std::string column : Select(database, "SELECT name FROM pragma_table_info('" + table + "')")) {
            column.pop_back();
            values += (values.empty() ? "" : "||' '||") + ("typeof([" + column + "])||' '||CASE typeof([" +
                                                           column + "]) WHEN 'real' THEN printf('%!.17g',[" +
                                                           column + "]) ELSE quote([" + column + "]) END");
        }
        for (const std::string& row : Select(database, "SELECT " + values + " FROM [" + table + "] ORDER BY 1"))
            contents.push_back(table + ": " + row);
    }
    sqlite3_close(database);
    return contents;
}

// The rows as a reader finds them, in the order of their texts.
std::vector<std::string> Read(const Twin& twin, const std::string& table) {
    const auto connection = twin.make();
    connection->Open(twin.connectionString);
    std::vector<std::string> found;
    const auto rows = connection->CreateRecordset();
    for (rows->Open("SELECT * FROM " + table, CursorType::ForwardOnly, LockType::ReadOnly); !rows->Eof();
         rows->MoveNext()) {
        std::string row;
        for (int i = 0; i < static_cast<int>(rows->FieldNames().size()); ++i) {
            const Value value = rows->Field(i);
            row += std::to_string(value.index()) + " ";
            if (value.Is<Double>())
                row += std::to_string(std::bit_cast<std::uint64_t>(value.As<Double>()));
            else if (value.Is<Date>())
                row += IsoDateTime(value.As<Date>());
            else if (!value.Is<Null>())
                row += ToText(value);
            row += "|";
        }
        found.push_back(row);
    }
    std::ranges::sort(found);
    return found;
}

}  // namespace

std::unique_ptr<Connection> TwinDatabases::CreateConnection(std::string_view) {
    return std::make_unique<TwinConnection>(first_, second_, ofAKind_, *this);
}

Twin EmbeddedTwin(const std::filesystem::path& file, bool takesTexts) {
    return {[] { return CreateSqliteConnection({}); }, "Provider=SQLite;Data Source=" + file.string(),
            takesTexts};
}

void ExpectEqualFiles(const std::filesystem::path& first, const std::filesystem::path& second) {
    const std::vector<std::string> bound = Contents(first), asTexts = Contents(second);
    ASSERT_EQ(bound.size(), asTexts.size());
    for (std::size_t i = 0; i < bound.size(); ++i) EXPECT_EQ(bound[i], asTexts[i]);
}

void ExpectEqualTables(const Twin& first, const Twin& second, const std::vector<std::string>& tables) {
    for (const std::string& table : tables) {
        const std::vector<std::string> one = Read(first, table), other = Read(second, table);
        ASSERT_EQ(one.size(), other.size()) << table;
        for (std::size_t i = 0; i < one.size(); ++i) EXPECT_EQ(one[i], other[i]) << table;
    }
}

}  // namespace iqrx::testing
