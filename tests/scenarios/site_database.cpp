#include "scenarios/site_database.h"

#include <libpq-fe.h>
#include <sqlite3.h>

#include <stdexcept>

namespace iqrx::testing {

namespace fs = std::filesystem;

namespace {

// Truth is shown as 1 and 0, as the embedded database has it.
std::string Cell(const PGresult* answer, int row, int column) {
    constexpr Oid kTruth = 16;
    if (PQgetisnull(answer, row, column)) return "NULL";
    const std::string text = PQgetvalue(answer, row, column);
    if (PQftype(answer, column) != kTruth) return text;
    return text == "t" ? "1" : "0";
}

class Embedded : public SiteDatabase {
public:
    explicit Embedded(fs::path file) : file_(std::move(file)) {}

    std::string Connection() const override { return "Provider=SQLite;Data Source=" + file_.string(); }
    std::vector<std::string> Rows(const std::string& sql) const override {
        sqlite3* handle = nullptr;
        const int code = sqlite3_open_v2(file_.c_str(), &handle, SQLITE_OPEN_READWRITE, nullptr);
        const std::unique_ptr<sqlite3, decltype(&sqlite3_close)> database(handle, sqlite3_close);
        if (code != SQLITE_OK) throw std::runtime_error("cannot open " + file_.string());
        sqlite3_busy_timeout(handle, 30'000);
        std::vector<std::string> rows;
        const auto keep = [](void* into, int columns, char** cells, char**) {
            std::string row;
            for (int i = 0; i < columns; ++i)
                row += (i > 0 ? "|" : "") + std::string(cells[i] ? cells[i] : "NULL");
            static_cast<std::vector<std::string>*>(into)->push_back(row);
            return 0;
        };
        if (sqlite3_exec(handle, sql.c_str(), keep, &rows, nullptr) != SQLITE_OK)
            throw std::runtime_error(sql + ": " + sqlite3_errmsg(handle));
        return rows;
    }
    std::vector<std::string> Tables() const override {
        return Rows("SELECT name FROM sqlite_schema WHERE type = 'table' AND name NOT LIKE 'sqlite_%'");
    }
    void Keep() const override {
        Rows("PRAGMA wal_checkpoint(TRUNCATE)");
        fs::copy_file(file_, Kept(), fs::copy_options::overwrite_existing);
    }
    void Restore() const override {
        for (const char* suffix : {"", "-wal", "-shm"}) fs::remove(file_.string() + suffix);
        fs::copy_file(Kept(), file_);
    }

private:
    fs::path Kept() const { return file_.string() + ".kept"; }

    const fs::path file_;
};

class OnServer : public SiteDatabase {
public:
    OnServer() : name_("site" + std::to_string(++made)) { Ask("postgres", "CREATE DATABASE " + name_); }
    ~OnServer() override {
        try {
            Drop(name_);
            Drop(Kept());
        } catch (const std::exception&) {
            // It goes with the server.
        }
    }

    std::string Connection() const override {
        return "Provider=PostgreSQL;Host=" + SiteServer().Host() +
               ";Port=" + std::to_string(SiteServer().Port()) + ";Database=" + name_ + ";User=postgres";
    }
    std::vector<std::string> Rows(const std::string& sql) const override { return Ask(name_, sql); }
    std::vector<std::string> Tables() const override {
        return Rows("SELECT tablename FROM pg_tables WHERE schemaname = 'public'");
    }
    void Keep() const override { Copy(name_, Kept()); }
    void Restore() const override { Copy(Kept(), name_); }

private:
    std::string Kept() const { return name_ + "_kept"; }
    static void Drop(const std::string& name) {
        Ask("postgres", "DROP DATABASE IF EXISTS " + name + " WITH (FORCE)");
    }
    static void Copy(const std::string& from, const std::string& to) {
        Drop(to);
        Ask("postgres", "CREATE DATABASE " + to + " TEMPLATE " + from);
    }

    static std::vector<std::string> Ask(const std::string& database, const std::string& sql) {
        return RowsOn(SiteServer(), database, sql);
    }

    static inline int made = 0;
    const std::string name_;
};

}  // namespace

PostgresServer& SiteServer() {
    static PostgresServer server(
        {.listens = PostgresOptions::Listens::Socket, .settings = {"listen_addresses=127.0.0.1"}});
    return server;
}

std::vector<std::string> RowsOn(const PostgresServer& server, const std::string& database,
                                const std::string& sql) {
    const std::string port = std::to_string(server.Port()), host = server.Host();
    const std::unique_ptr<PGconn, decltype(&PQfinish)> link(
        PQsetdbLogin(host.c_str(), port.c_str(), nullptr, nullptr, database.c_str(), "postgres", nullptr),
        PQfinish);
    PQsetNoticeReceiver(
        link.get(), [](void*, const PGresult*) {}, nullptr);
    const std::unique_ptr<PGresult, decltype(&PQclear)> answer(PQexec(link.get(), sql.c_str()), PQclear);
    const ExecStatusType status = PQresultStatus(answer.get());
    if (status != PGRES_TUPLES_OK && status != PGRES_COMMAND_OK)
        throw std::runtime_error(sql + ": " + PQerrorMessage(link.get()));
    std::vector<std::string> rows;
    for (int row = 0; row < PQntuples(answer.get()); ++row) {
        rows.emplace_back();
        for (int column = 0; column < PQnfields(answer.get()); ++column)
            rows.back() += (column > 0 ? "|" : "") + Cell(answer.get(), row, column);
    }
    return rows;
}

std::unique_ptr<SiteDatabase> EmbeddedSiteDatabase(const fs::path& file) {
    return std::make_unique<Embedded>(file);
}

std::unique_ptr<SiteDatabase> PostgresSiteDatabase() { return std::make_unique<OnServer>(); }

}  // namespace iqrx::testing
