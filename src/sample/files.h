// The parts of the extract.
#pragma once

#include <filesystem>

#include "sample/world.h"

namespace iqrx::sample {

// Everything that does not change with the orders of the day: addresses, employees, installations and so on.
void WriteMasterData(const std::filesystem::path& directory, const World& world);

// Intervals of every employee and service center.
void WriteCalendars(const std::filesystem::path& directory, const World& world);

// Orders with their activities, lines, assignments and planned activities, and what happened to them.
void WriteOrders(const std::filesystem::path& directory, const World& world);

}  // namespace iqrx::sample
