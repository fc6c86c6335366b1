// postgres_loop plain|sweep|look SERVER CSV SKIPPED TABLE COLUMN...
// What a copy to PostgreSQL is measured against: a loop over libpq that sends the two statements of an
// upsert, prepared, in pipeline mode. The first column is the key; the first SKIPPED cells of each line are
// left out, cells have no quotes, and an empty one is null. A trip takes the updates of some rows, and the
// inserts for those of the trip before that were not there. `sweep` marks all rows first and deletes those
// that stay marked, as a full copy does. `look` does what a copy of changes does that compares and notes
// them: it reads each row, waits for it, writes it and replaces what TABLE_audit says of its key.
#include <libpq-fe.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Row = std::vector<std::string>;
constexpr std::size_t kTrip = 200;

std::vector<Row> ReadRows(const char* file, std::size_t skipped) {
    std::vector<Row> rows;
    std::ifstream stream(file);
    std::string line;
    std::getline(stream, line);
    while (std::getline(stream, line)) {
        Row row;
        std::size_t begin = 0;
        for (auto comma = line.find(','); comma != std::string::npos; comma = line.find(',', begin)) {
            row.push_back(line.substr(begin, comma - begin));
            begin = comma + 1;
        }
        row.push_back(line.substr(begin));
        row.erase(row.begin(), row.begin() + static_cast<Row::difference_type>(skipped));
        rows.push_back(std::move(row));
    }
    return rows;
}

class Loop {
public:
    Loop(const char* server, const std::string& table, const std::vector<std::string>& columns)
        : link_(PQconnectdb(server)) {
        if (PQstatus(link_) != CONNECTION_OK) Fail();
        Do("SET synchronous_commit = off");  // as the service's sessions have it
        Do("PREPARE change AS " + Update(table, columns));
        Do("PREPARE addition AS " + Insert(table, columns));
    }
    ~Loop() { PQfinish(link_); }
    Loop(const Loop&) = delete;
    Loop& operator=(const Loop&) = delete;

    void Do(const std::string& sql) {
        PGresult* const answer = PQexec(link_, sql.c_str());
        if (PQresultStatus(answer) != PGRES_COMMAND_OK) Fail();
        PQclear(answer);
    }

    void Write(const std::vector<Row>& rows) {
        if (!PQenterPipelineMode(link_)) Fail();
        std::vector<const Row*> missed;
        for (std::size_t begin = 0; begin < rows.size() || !missed.empty(); begin += kTrip) {
            for (const Row* row : missed) Send("addition", *row);
            const std::size_t inserts = missed.size(), end = std::min(rows.size(), begin + kTrip);
            for (std::size_t i = begin; i < end; ++i) Send("change", rows[i]);
            if (!PQpipelineSync(link_)) Fail();
            for (std::size_t i = 0; i < inserts; ++i) Receive();
            missed.clear();
            for (std::size_t i = begin; i < end; ++i)
                if (Receive() == '0') missed.push_back(&rows[i]);
            PQclear(PQgetResult(link_));
        }
        PQexitPipelineMode(link_);
    }

    // A row is written in the trip that reads the next one.
    void LookAndWrite(const std::vector<Row>& rows, const std::string& table, const std::string& key) {
        Do("PREPARE look AS SELECT * FROM " + table + " WHERE " + key + " = $1");
        Do("PREPARE forget AS DELETE FROM " + table + "_audit WHERE " + key + " = $1");
        Do("PREPARE note AS INSERT INTO " + table + "_audit (" + key +
           ", time, action) VALUES ($1, now(), 'U')");
        if (!PQenterPipelineMode(link_)) Fail();
        const char* write = nullptr;
        for (std::size_t i = 0; i <= rows.size(); ++i) {
            if (write) {
                Send(write, rows[i - 1]);
                for (const char* const log : {"forget", "note"}) Send(log, {rows[i - 1][0]});
            }
            if (i < rows.size()) Send("look", {rows[i][0]});
            if (!PQpipelineSync(link_)) Fail();
            for (int written = write ? 3 : 0; written > 0; --written) Receive();
            if (i < rows.size()) write = Receive() == '0' ? "addition" : "change";
            PQclear(PQgetResult(link_));
        }
        PQexitPipelineMode(link_);
    }

private:
    static std::string Place(std::size_t column) { return "$" + std::to_string(column + 1); }
    static std::string Update(const std::string& table, const std::vector<std::string>& columns) {
        std::string sql = "UPDATE " + table + " SET ";
        for (std::size_t i = 1; i < columns.size(); ++i) sql += columns[i] + " = " + Place(i) + ", ";
        return sql + "upd_flag = 0 WHERE " + columns[0] + " = $1";
    }
    static std::string Insert(const std::string& table, const std::vector<std::string>& columns) {
        std::string names, places;
        for (std::size_t i = 0; i < columns.size(); ++i) {
            names += columns[i] + ", ";
            places += Place(i) + ", ";
        }
        return "INSERT INTO " + table + " (" + names + "upd_flag) VALUES (" + places + "0)";
    }

    void Send(const char* name, const Row& row) {
        std::vector<const char*> texts;
        texts.reserve(row.size());
        for (const std::string& cell : row) texts.push_back(cell.empty() ? nullptr : cell.c_str());
        if (!PQsendQueryPrepared(link_, name, static_cast<int>(texts.size()), texts.data(), nullptr, nullptr, 0))
            Fail();
    }
    // The first digit of the count.
    char Receive() {
        PGresult* const answer = PQgetResult(link_);
        const ExecStatusType status = PQresultStatus(answer);
        if (status != PGRES_COMMAND_OK && status != PGRES_TUPLES_OK) Fail();
        const char count = *PQcmdTuples(answer);
        PQclear(answer);
        PQgetResult(link_);
        return count;
    }
    [[noreturn]] void Fail() const { throw std::runtime_error(PQerrorMessage(link_)); }

    PGconn* const link_;
};

}  // namespace

int main(int count, char** arguments) {
    if (count < 7) return 64;
    try {
        const std::string mode = arguments[1], table = arguments[5];
        const auto rows = ReadRows(arguments[3], static_cast<std::size_t>(std::atoi(arguments[4])));
        Loop loop(arguments[2], table, {arguments + 6, arguments + count});
        if (mode == "sweep") loop.Do("UPDATE " + table + " SET upd_flag = 1");
        mode == "look" ? loop.LookAndWrite(rows, table, arguments[6]) : loop.Write(rows);
        if (mode == "sweep") loop.Do("DELETE FROM " + table + " WHERE upd_flag = 1");
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
