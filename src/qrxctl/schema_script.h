// The scripts that create the local database, read for what they create.
#pragma once

#include <filesystem>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "qrxctl/options.h"

namespace iqrx::qrxctl {

struct TableText {
    struct Column {
        std::string name, type;  // the type in capitals, without its width: NVARCHAR
    };
    std::string name;
    std::vector<Column> columns;
    std::vector<std::string> key;  // empty for a table without one
    std::string statement;         // CREATE TABLE ...
};

std::vector<TableText> TablesOf(std::string_view script);
const TableText* FindTable(std::span<const TableText> tables, std::string_view name);

// sqlite.sql, postgresql.sql, sqlserver.sql or oracle.sql, whichever is for the options' database.
std::filesystem::path ScriptOf(const Options& options, const std::filesystem::path& schemaFolder);
std::string ReadScript(const std::filesystem::path& file);  // raises RuntimeError

}  // namespace iqrx::qrxctl
