// The ports of a POSIX machine. Locale and time zone are those of the environment when it is made;
// nothing process-wide is changed.
#pragma once

#include <memory>

#include "platform/machine.h"

namespace iqrx::platform::posix {

std::shared_ptr<const Machine> CreateMachine();  // its ports are borrowed from it

// The parts that have a file of their own.
std::unique_ptr<TextFiles> CreateTextFiles();
std::unique_ptr<XmlDocumentFactory> CreateXmlDocuments();

std::filesystem::path ProgramFile();

}  // namespace iqrx::platform::posix
