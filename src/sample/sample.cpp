#include "sample/sample.h"

#include "platform/error.h"
#include "sample/files.h"

namespace iqrx::sample {

namespace {

void WriteFixedTables(const std::filesystem::path& directory, const World& world) {
    for (const FixedTable& table : FixedTables()) {
        const std::string_view header = table.trail.substr(0, table.trail.find('\n') + 1);
        TextFile current(directory / (std::string(table.name) + ".csv"));
        TextFile trail(directory / (std::string(table.name) + ".audit.csv"));
        current.Write(table.current);
        trail.Write(world.changes > 0 ? table.trail : header);
        current.Close();
        trail.Close();
    }
}

}  // namespace

void WriteSample(const std::filesystem::path& directory, const SampleSize& size) {
    const World world(size);
    std::error_code failure;
    std::filesystem::create_directories(directory, failure);
    if (failure) {
        platform::RaiseRuntimeError(platform::kPathFileAccess, directory.string() + ": " + failure.message());
    }
    WriteFixedTables(directory, world);
    WriteMasterData(directory, world);
    WriteCalendars(directory, world);
    WriteOrders(directory, world);
}

}  // namespace iqrx::sample
