// The instance registry "iQRXyInstHandler.InstanceHandle" of a machine without one: what a request calls on
// it and on the caller's instance object is appended to a file or FIFO, one JSON object a line.
#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <utility>

#include "platform/object.h"

namespace iqrx::platform::posix {

class InstanceLines;

class InstanceRegistryFactory : public ObjectFactory {
public:
    // Without a file there is no registry.
    explicit InstanceRegistryFactory(std::optional<std::filesystem::path> file) : file_(std::move(file)) {}

    // The first call opens the file, which waits for a FIFO's reader; it stays open as long as this object
    // and those that it made, so that a FIFO's reader sees one stream. Raises RuntimeError 429 for every
    // other class, without a file, and when the file can't be opened.
    ObjectRef CreateObject(std::string_view progId) override;

private:
    std::optional<std::filesystem::path> file_;
    std::shared_ptr<InstanceLines> lines_;
};

}  // namespace iqrx::platform::posix
