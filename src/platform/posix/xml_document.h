// XML documents through pugixml.
#pragma once

#include "platform/machine.h"

namespace iqrx::platform::posix {

class PugiDocumentFactory : public XmlDocumentFactory {
public:
    std::unique_ptr<XmlDocument> CreateDocument() override;
};

}  // namespace iqrx::platform::posix
