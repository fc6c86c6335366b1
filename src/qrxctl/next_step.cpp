#include "qrxctl/next_step.h"

#include <algorithm>
#include <array>

namespace iqrx::qrxctl {

namespace {

struct Step {
    std::array<std::string_view, 2> parts;  // of the error; the second may be empty
    std::string_view todo;
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
    {{"tstables or tstreenodes table is empty", ""}, "qrxctl init"},
    {{"FilterFlag of ", "in tstables"}, "127 copies every status; see docs/local-database.md"},
    {{".csv", "does not exist"}, "qrxctl check"},
    {{".csv", "cannot be read"}, "qrxctl check"},
    {{".csv", "has no column"}, "qrxctl check"},
    {{"database is locked", ""}, "another program writes; qrxctl status"},
    {{"The extract directory ", "does not exist"}, "name it with --erp extract=DIRECTORY"},
};

}  // namespace

std::string StepAfter(std::string_view error) {
    const auto fits = [&](const Step& step) {
        return std::ranges::all_of(
            step.parts, [&](std::string_view part) { return error.find(part) != std::string_view::npos; });
    };
    const auto found = std::ranges::find_if(kSteps, fits);
    return found == std::end(kSteps) ? std::string() : std::string(found->todo);
}

}  // namespace iqrx::qrxctl
