// Guards around the statements of an upsert: an empty statement raises error 100 with the failure's text as
// the error's source. No table's statement is ever empty.
#pragma once

#include <string>

#include "control/copy_run.h"

namespace iqrx::tables {

void RequireUpdate(control::CopyRun& run, const std::string& sql);
void RequireStatement(control::CopyRun& run, const std::string& sql);          // in the catalog's words
void RequireExecutedStatement(control::CopyRun& run, const std::string& sql);  // blanks alone are empty, too

}  // namespace iqrx::tables
