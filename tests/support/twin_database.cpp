#include "support/twin_database.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <exception>

#include "platform/database_wrapper.h"
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

class TwinRecordset : public RecordsetWrapper {
public:
    TwinRecordset(std::unique_ptr<Recordset> bound, std::unique_ptr<Recordset> asText, TwinDatabases& twins)
        : RecordsetWrapper(std::move(bound)), asText_(std::move(asText)), twins_(twins) {}

    void Open(const platform::Statement& source, CursorType cursor, LockType lock) override {
        ++twins_.statements;
        Wrapped().Open(source, cursor, lock);
        asText_->Open(source.Text(), cursor, lock);
        EXPECT_EQ(Wrapped().Bof(), asText_->Bof()) << source.Text();
    }
    void Close() override {
        Wrapped().Close();
        asText_->Close();
    }
    std::int32_t RecordCount() override {
        EXPECT_EQ(Wrapped().RecordCount(), asText_->RecordCount());
        return Wrapped().RecordCount();
    }
    void MoveFirst() override {
        Wrapped().MoveFirst();
        asText_->MoveFirst();
    }
    void MoveNext() override {
        Wrapped().MoveNext();
        asText_->MoveNext();
    }
    Value Field(std::string_view name) override {
        const Value value = Wrapped().Field(name);
        EXPECT_TRUE(value == asText_->Field(name)) << name;
        return value;
    }
    void AddNew() override {
        Wrapped().AddNew();
        asText_->AddNew();
    }
    void SetField(int position, const Value& value) override {
        Wrapped().SetField(position, value);
        asText_->SetField(position, value);
    }
    void Update() override {
        Wrapped().Update();
        asText_->Update();
    }
    void Delete() override {
        Wrapped().Delete();
        asText_->Delete();
    }

private:
    std::unique_ptr<Recordset> asText_;
    TwinDatabases& twins_;
};

class TwinConnection : public ConnectionWrapper {
public:
    TwinConnection(const std::filesystem::path& bound, const std::filesystem::path& asTexts,
                   TwinDatabases& twins)
        : ConnectionWrapper(CreateSqliteConnection({})), boundFile_(bound), textFile_(asTexts), twins_(twins) {}

    void Open(const std::string&) override {
        Wrapped().Open("Provider=SQLite;Data Source=" + boundFile_.string());
        asTexts_->Open("Provider=SQLite;Data Source=" + textFile_.string());
    }
    void Close() override {
        Wrapped().Close();
        asTexts_->Close();
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
        EXPECT_EQ(bound, SaidBy([&] { return asTexts_->Execute(statement.Text()); })) << statement.Text();
        if (failure) std::rethrow_exception(failure);
        return bound.number;
    }
    void Commit() override {
        Wrapped().Commit();
        asTexts_->Commit();
    }
    void RunAsUnit(const Work& work) override {
        Wrapped().RunAsUnit([&] { asTexts_->RunAsUnit(work); });
    }
    void RunExclusively(const Work& work) override {
        Wrapped().RunExclusively([&] { asTexts_->RunExclusively(work); });
    }
    std::unique_ptr<Recordset> CreateRecordset() override {
        return std::make_unique<TwinRecordset>(Wrapped().CreateRecordset(), asTexts_->CreateRecordset(),
                                               twins_);
    }

private:
    const std::filesystem::path boundFile_, textFile_;
    std::unique_ptr<Connection> asTexts_ = CreateSqliteConnection({});
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

}  // namespace

std::unique_ptr<Connection> TwinDatabases::CreateConnection(std::string_view) {
    return std::make_unique<TwinConnection>(bound_, asTexts_, *this);
}

void TwinDatabases::ExpectEqual() const {
    const std::vector<std::string> bound = Contents(bound_), asTexts = Contents(asTexts_);
    ASSERT_EQ(bound.size(), asTexts.size());
    for (std::size_t i = 0; i < bound.size(); ++i) EXPECT_EQ(bound[i], asTexts[i]);
}

}  // namespace iqrx::testing
