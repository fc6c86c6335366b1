// The instance registry "iQRXyInstHandler.InstanceHandle" of a machine without one: what a request calls on
// it and on the caller's instance object is appended to a file or FIFO, one JSON object a line.
#pragma once

#include <filesystem>
#include <memory>
#include <optional>

#include "platform/object.h"

namespace iqrx::platform::posix {

// Without a file there is no registry. The first object that is created opens the file, which waits for a
// FIFO's reader; it stays open as long as the factory and the objects, so that the reader sees one stream.
// Creating one raises RuntimeError 429 for every other class, without a file, and when it can't be opened.
std::unique_ptr<ObjectFactory> CreateInstanceRegistries(std::optional<std::filesystem::path> file);

}  // namespace iqrx::platform::posix
