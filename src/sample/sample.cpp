#include "sample/sample.h"

#include "platform/error.h"
#include "sample/files.h"

namespace iqrx::sample {

void WriteSample(const std::filesystem::path& directory, const SampleSize& size) {
    const World world(size);
    std::error_code failure;
    std::filesystem::create_directories(directory, failure);
    if (failure) {
        platform::RaiseRuntimeError(platform::kPathFileAccess, directory.string() + ": " + failure.message());
    }
    WriteMasterData(directory, world);
    WriteCalendars(directory, world);
    WriteOrders(directory, world);
}

}  // namespace iqrx::sample
