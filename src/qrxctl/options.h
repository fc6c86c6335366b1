// What every command of the operator's tool may be told.
#pragma once

#include <map>
#include <string>

#include "control/cls_data_copy.h"

namespace iqrx::qrxctl {

struct Options {
    std::string connection;
    std::string database;
    std::string platform = "sqlserver";
    std::string erp;
    std::string group = "SYNC";
    std::string logDirectory;
    std::string configFile;                    // the INI file; empty when there is none
    std::string stateDirectory;                // empty: beside the database or in the log directory
    bool json = false;                         // results as JSON
    bool quiet = false;                        // no word unless something is wrong
    std::map<std::string, std::string> guard;  // of the INI file's section [guard]: the limit of each table
};

// All of a request but its table and method.
control::CopyRequest RequestOf(const Options& options);

platform::Integer PlatformNumber(const Options& options);

// The process of a command: standalone, with the table catalog of the options' group loaded.
void PrepareProcess(control::Process& process, const Options& options);

}  // namespace iqrx::qrxctl
