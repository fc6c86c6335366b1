#include "platform/conversions.h"
#include "platform/windows/com_object.h"
#include "platform/windows/machine_parts.h"

namespace iqrx::platform::windows {

namespace {

class MsxmlDocument : public XmlDocument {
public:
    MsxmlDocument() : document_(ComObjectFactory().CreateObject("MSXML2.DomDocument")) {
        document_->Set("async", false);
    }

    bool Load(const std::filesystem::path& file) override {
        return ToBoolean(Call(*document_, "load", Utf8(file.native())));
    }

    std::optional<std::string> SelectSingleNodeText(const std::string& path) override {
        const Value node = Call(*document_, "selectSingleNode", path);
        if (!node.Is<ObjectRef>() || !node.As<ObjectRef>()) return std::nullopt;
        return ToText(node.As<ObjectRef>()->Get("text"));
    }

private:
    ObjectRef document_;
};

class MsxmlDocumentFactory final : public XmlDocumentFactory {
    std::unique_ptr<XmlDocument> CreateDocument() override { return std::make_unique<MsxmlDocument>(); }
};

}  // namespace

std::unique_ptr<XmlDocumentFactory> CreateXmlDocuments() { return std::make_unique<MsxmlDocumentFactory>(); }

}  // namespace iqrx::platform::windows
