// The parts of the machine that have a file of their own.
#pragma once

#include "platform/machine.h"

namespace iqrx::platform::posix {

std::unique_ptr<TextFiles> CreateTextFiles();
std::unique_ptr<XmlDocumentFactory> CreateXmlDocuments();

}  // namespace iqrx::platform::posix
