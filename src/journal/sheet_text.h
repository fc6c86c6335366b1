// A run sheet as its file holds it: a line for the sheet and, below it, one for the last sign of its copy.
#pragma once

#include <string>
#include <string_view>

#include "journal/run_sheet.h"

namespace iqrx::journal {

std::string TextOf(const SheetText& sheet);  // with its line break
// With its line break, to follow that text: always as long, so that it can be written over the one before.
std::string TextOf(const SignOfLife& sign, std::string_view sheetText);

// As of a sheet that somebody holds; of a damaged one what can be read of it. A sign that is half written, or
// that a former holder has left, is none.
SheetState ReadSheet(const std::string& table, std::string_view text);
bool HasUnreadSign(const SheetState& state, std::string_view text);  // one that is half written, it may be

}  // namespace iqrx::journal
