// What every command of the operator's tool may be told.
#pragma once

#include <string>

#include "control/process.h"

namespace iqrx::qrxctl {

struct Options {
    std::string connection;
    std::string database;
    std::string platform = "sqlserver";
    std::string erp;
    std::string group = "SYNC";
    std::string logDirectory;
};

platform::Integer PlatformNumber(const Options& options);

// The process of a command: standalone, with the table catalog of the options' group loaded.
void PrepareProcess(control::Process& process, const Options& options);

}  // namespace iqrx::qrxctl
