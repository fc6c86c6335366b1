#include "qrxctl/sample.h"

#include "platform/error.h"
#include "qrxctl/sample/files.h"

namespace iqrx::qrxctl {

void WriteSample(const std::filesystem::path& directory, const SampleSize& size) {
    const sample::World world(size);
    std::error_code failure;
    std::filesystem::create_directories(directory, failure);
    if (failure) {
        platform::RaiseRuntimeError(platform::kPathFileAccess, directory.string() + ": " + failure.message());
    }
    sample::WriteMasterData(directory, world);
    sample::WriteCalendars(directory, world);
    sample::WriteOrders(directory, world);
}

}  // namespace iqrx::qrxctl
