#include <algorithm>
#include <pugixml.hpp>

#include "platform/posix/machine.h"
#include "platform/text.h"

namespace iqrx::platform::posix {

namespace {

class PugiDocument : public XmlDocument {
public:
    bool Load(const std::filesystem::path& file) override {
        if (document_.load_file(file.c_str())) {
            const auto children = document_.children();
            const auto isElement = [](const pugi::xml_node& node) { return node.type() == pugi::node_element; };
            if (std::count_if(children.begin(), children.end(), isElement) == 1) return true;
        }
        document_.reset();
        return false;
    }

    std::optional<std::string> SelectSingleNodeText(const std::string& path) override {
        const pugi::xml_node node = document_.first_element_by_path(path.c_str());
        if (!node) return std::nullopt;
        const std::string text = pugi::xpath_query("string()").evaluate_string(pugi::xpath_node(node));
        return std::string(Trim(text));  // blanks around it are the file's layout
    }

private:
    pugi::xml_document document_;
};

class PugiDocumentFactory final : public XmlDocumentFactory {
    std::unique_ptr<XmlDocument> CreateDocument() override { return std::make_unique<PugiDocument>(); }
};

}  // namespace

std::unique_ptr<XmlDocumentFactory> CreateXmlDocuments() { return std::make_unique<PugiDocumentFactory>(); }

}  // namespace iqrx::platform::posix
