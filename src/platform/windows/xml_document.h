// XML documents of the system's own parser ("MSXML2.DomDocument").
#pragma once

#include "platform/machine.h"

namespace iqrx::platform::windows {

class MsxmlDocumentFactory : public XmlDocumentFactory {
public:
    std::unique_ptr<XmlDocument> CreateDocument() override;  // raises RuntimeError without the component
};

}  // namespace iqrx::platform::windows
