// Texts by label, in the installation's language.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

#include "platform/machine.h"

namespace iqrx::runtime {

class MessageCatalog {
public:
    MessageCatalog(platform::MakeXmlDocument makeDocument, const std::filesystem::path& programFolder)
        : makeDocument_(std::move(makeDocument)), file_(programFolder / "I18nText.xml") {}

    // The text of a label such as "SLBL0504". The label itself when the catalog cannot be loaded or has no
    // such text; a load that failed is tried again by the next call, so that a file put right is found
    // without a restart.
    std::string GetI18nText(std::string_view label);
    // The same with the values in the places of "%1", "%2" and so on.
    std::string GetI18nText(std::string_view label, std::initializer_list<std::string_view> values);

private:
    platform::MakeXmlDocument makeDocument_;
    std::filesystem::path file_;
    std::unique_ptr<platform::XmlDocument> loaded_;
};

// Replaces every occurrence of a placeholder such as "%1".
std::string Fill(std::string text, std::string_view placeholder, std::string_view value);
// Replaces the first occurrence only.
std::string FillFirst(std::string text, std::string_view placeholder, std::string_view value);

}  // namespace iqrx::runtime
