// The parts of the extract.
#pragma once

#include <filesystem>
#include <span>
#include <string_view>

#include "sample/world.h"

namespace iqrx::sample {

// A table of which every extract has the same records, as they stand in the source tree's directory sample.
struct FixedTable {
    std::string_view name, current, trail;  // the texts of both files
};
std::span<const FixedTable> FixedTables();

// What does not change with the orders of the day but grows with them: addresses, employees, installations and so on.
void WriteMasterData(const std::filesystem::path& directory, const World& world);

// Intervals of every employee and service center.
void WriteCalendars(const std::filesystem::path& directory, const World& world);

// Orders with their activities, lines, assignments and planned activities, and what happened to them.
void WriteOrders(const std::filesystem::path& directory, const World& world);

}  // namespace iqrx::sample
