#include "platform/windows/xml_document.h"

#include "platform/conversions.h"
#include "platform/windows/com_object.h"

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

}  // namespace

std::unique_ptr<XmlDocument> MsxmlDocumentFactory::CreateDocument() {
    return std::make_unique<MsxmlDocument>();
}

}  // namespace iqrx::platform::windows
