#include "scenarios/site.h"

#include <stdlib.h>

#include <ctime>
#include <fstream>
#include <memory>
#include <stdexcept>

namespace iqrx::testing {

namespace {

fs::path NewDirectory() {
    std::string name = (fs::temp_directory_path() / "site-XXXXXX").string();
    if (!mkdtemp(name.data())) throw std::runtime_error("no directory for a site");
    return name;
}

}  // namespace

std::string Request::Text(std::size_t arguments) const {
    const std::vector<std::string> all{connection, database, table,    method,   logDirectory, runParameter,
                                       statusKey,  calendar, platform, instance, group,        extra};
    std::string text;
    for (std::size_t i = 0; i < arguments; ++i) text += (i > 0 ? "{}" : "") + all.at(i);
    return text;
}

Site::Site(bool onServer)
    : directory(NewDirectory()),
      onServer_(onServer),
      rows_(onServer ? PostgresSiteDatabase() : EmbeddedSiteDatabase(database)) {
    fs::create_directory(extract);
    fs::create_directory(logs);
    const Finished init = Qrxctl({"init"});
    if (init.exitCode != 0) throw std::runtime_error("qrxctl init: " + init.err);
}

Site::~Site() {
    std::error_code ignored;
    fs::remove_all(directory, ignored);
}

fs::path Site::Sample() { return IQRX_SAMPLE_DIRECTORY; }

Request Site::FullCopy() const {
    Request request;
    request.connection = Connection();
    request.logDirectory = logs.string();
    request.runParameter = "extract=" + extract.string();
    return request;
}

Request Site::IncrementalCopy() const {
    Request request = FullCopy();
    request.method = kIncremental;
    return request;
}

void Site::GivenExtract(const std::string& file, const std::string& text) const {
    GivenFile(extract / file, text);
}

void Site::GivenFile(const fs::path& file, const std::string& text) const {
    std::ofstream(file, std::ios::binary) << text << '\n';
}

std::vector<std::string> Site::ServiceCommand(const Request& request, std::size_t arguments) const {
    return {IQRX_SERVICE, request.Text(arguments)};
}

Finished Site::Service(const Request& request, const Environment& environment, std::size_t arguments) const {
    return RunToEnd(ServiceCommand(request, arguments), directory, environment);
}

Finished Site::Qrxctl(std::vector<std::string> arguments, const Environment& environment) const {
    arguments.insert(arguments.begin(), {"--connection", Connection(), "--erp", "extract=" + extract.string(),
                                         "--log-dir", logs.string()});
    return BareQrxctl(std::move(arguments), environment);
}

Finished Site::BareQrxctl(std::vector<std::string> arguments, const Environment& environment) const {
    arguments.insert(arguments.begin(), IQRX_QRXCTL);
    return RunToEnd(arguments, directory, environment);
}

std::string Site::Cell(const std::string& sql) const { return Rows(sql).at(0); }

void Site::Execute(const std::string& sql) const { Rows(sql); }

std::vector<std::string> Site::CatalogTables() const {
    return Rows("SELECT tablename FROM tstables ORDER BY tableid");
}

std::string Site::LastUpdate(const std::string& table) const {
    return Cell("SELECT lutm FROM tstables WHERE tablename = '" + table + "'");
}

bool Site::InUse(const std::string& table) const {
    return Cell("SELECT in_use FROM tstables WHERE tablename = '" + table + "'") == "1";
}

std::string Site::Today() {
    const std::time_t now = std::time(nullptr);
    char text[16];
    return {text, std::strftime(text, sizeof text, "%Y%m%d", std::localtime(&now))};
}

std::string Unwrapped(const std::string& text) {
    std::string line;
    for (const char c : text)
        if (c != '\n' && (c != ' ' || !line.ends_with(' ')))
            line += c;
        else if (!line.ends_with(' '))
            line += ' ';
    return line;
}

std::string Site::RunLog(const std::string& table) const {
    for (const auto& entry : fs::directory_iterator(logs)) {
        const std::string name = entry.path().filename().string();
        if (name.starts_with(table + "_") && name.ends_with(".log")) return ReadText(entry.path());
    }
    return {};
}

}  // namespace iqrx::testing
