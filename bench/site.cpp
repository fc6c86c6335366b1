#include "site.h"

#include <fstream>
#include <iostream>
#include <random>
#include <sstream>
#include <stdexcept>

#include "composition/composition.h"
#include "hosting/sub_main.h"
#include "qrxctl/init_command.h"

namespace iqrx::bench {

namespace fs = std::filesystem;

namespace {

qrxctl::Options OptionsFor(const fs::path& database) {
    qrxctl::Options options;
    options.connection = "Provider=SQLite;Data Source=" + database.string();
    return options;
}

}  // namespace

Site::Site()
    : directory_(fs::temp_directory_path() / ("iqrx-bench-" + std::to_string(std::random_device{}()))) {
    fs::create_directories(Extract());
    RenewDatabase();
}

Site::~Site() {
    std::error_code ignored;
    fs::remove_all(directory_, ignored);
}

void Site::RenewDatabase() {
    for (const char* suffix : {"", "-wal", "-shm"}) fs::remove(Database().string() + suffix);
    hosting::Composition parts({});
    qrxctl::Init(parts, OptionsFor(Database()), IQRX_SCHEMA_DIRECTORY);
}

void Site::WriteCsv(const std::string& file, const std::vector<std::string>& header,
                    const std::vector<Row>& rows) {
    std::ofstream stream(Extract() / file, std::ios::binary);
    const auto write = [&](const std::vector<std::string>& cells) {
        for (std::size_t i = 0; i < cells.size(); ++i) stream << (i > 0 ? "," : "") << cells[i];
        stream << '\n';
    };
    write(header);
    for (const Row& row : rows) write(row);
}

Seconds Site::Copy(int tableId, bool full, bool traced) {
    hosting::Surroundings surroundings;
    if (traced) surroundings.trace = directory_ / "trace.jsonl";
    if (traced) fs::remove(*surroundings.trace);
    hosting::Composition parts(surroundings);
    control::Process process(parts.Ports(std::cerr));
    std::ostringstream request;
    request << "Provider=SQLite;Data Source=" << Database().string() << "{}{}" << tableId << "{}"
            << (full ? 1 : 2) << "{}" << directory_.string() << "{}extract=" << Extract().string()
            << "{}0{}{}1{}0{}SYNC{}";
    const Stopwatch watch;
    if (hosting::SubMain(process, request.str()) != hosting::kCompleted)
        throw std::runtime_error("the copy did not complete");
    return watch.Elapsed();
}

void Site::SetLastUpdate(const std::string& table, const std::string& moment) {
    hosting::Composition parts({});
    control::Ports ports = parts.Ports(std::cerr);
    runtime::DatabaseSession session(ports.machine, ports.databases);
    session.OpenDatabase(OptionsFor(Database()).connection, "");
    control::ControlTables(ports.machine.clock, session)
        .SetTableLastUpdate(table, session.Literals().WrapDateLiteral(moment));
    session.CloseDatabase();
}

}  // namespace iqrx::bench
