#include <algorithm>
#include <array>

#include "qrxctl/lines.h"

namespace iqrx::qrxctl {

namespace {

struct Step {
    std::array<std::string_view, 2> parts;  // of the error; the second may be empty
    std::string_view todo;                  // "{}" stands for the table
};

// The first that fits. A missing table is told in the words of the database that lacks it.
constexpr Step kSteps[] = {
    {{"The database file", "; there is no directory"}, "make the directory, or correct Data Source"},
    {{"The database file does not exist", ""}, "qrxctl init"},
    {{"no such table", ""}, "qrxctl init"},
    {{"Invalid object name", ""}, "qrxctl init"},
    {{"ORA-00942", ""}, "qrxctl init"},
    {{"[42P01] relation ", "does not exist"}, "qrxctl init"},
    {{"has no schema ", "that the user may use"}, "make the schema, or correct --database"},
    {{"no such column", ""}, "qrxctl init --show {}"},
    {{"Invalid column name", ""}, "qrxctl init --show {}"},
    {{"ORA-00904", ""}, "qrxctl init --show {}"},
    {{"column \"", "does not exist"}, "qrxctl init --show {}"},
    {{"tstables or tstreenodes table is empty", ""}, "qrxctl init"},
    {{"FilterFlag of ", "in tstables"}, "127 copies every status; see docs/local-database.md"},
    {{".csv", "does not exist"}, "qrxctl check"},
    {{".csv", "cannot be read"}, "qrxctl check"},
    {{".csv", "has no column"}, "qrxctl check"},
    {{"database is locked", ""}, "another program writes; qrxctl status"},
    {{"The extract directory ", "does not exist"}, "name it with --erp extract=DIRECTORY"},
    {{"belongs to another database", ""}, "name one of its own with --state-dir DIRECTORY"},
};

}  // namespace

std::string StepAfter(std::string_view error, std::string_view table) {
    const auto fits = [&](const Step& step) {
        return std::ranges::all_of(
            step.parts, [&](std::string_view part) { return error.find(part) != std::string_view::npos; });
    };
    const auto found = std::ranges::find_if(kSteps, fits);
    std::string todo(found == std::end(kSteps) ? "" : found->todo);
    const auto hole = todo.find("{}");
    if (hole == std::string::npos) return todo;
    // What it is about is not known here, but found by a look at all.
    return table.empty() ? "qrxctl check" : todo.replace(hole, 2, table);
}

}  // namespace iqrx::qrxctl
