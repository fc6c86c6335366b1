#include "sample/sample.h"

#include "platform/error.h"
#include "sample/files.h"

namespace iqrx::sample {

namespace {

void WriteFile(const std::filesystem::path& path, std::string_view text) {
    TextFile file(path);
    file.Write(text);
    file.Close();
}

void WriteFixedTables(const std::filesystem::path& directory, const World& world) {
    for (const auto& [name, current, trail] : FixedTables()) {
        const std::string_view header = trail.substr(0, trail.find('\n') + 1);
        WriteFile(directory / (std::string(name) + ".csv"), current);
        WriteFile(directory / (std::string(name) + ".audit.csv"), world.changes > 0 ? trail : header);
    }
}

}  // namespace

void WriteSample(const std::filesystem::path& directory, const SampleSize& size) {
    const World world(size);
    std::error_code failure;
    std::filesystem::create_directories(directory, failure);
    if (failure)
        platform::RaiseRuntimeError(platform::kPathFileAccess, directory.string() + ": " + failure.message());
    WriteFixedTables(directory, world);
    WriteMasterData(directory, world);
    WriteCalendars(directory, world);
    WriteOrders(directory, world);
}

}  // namespace iqrx::sample
