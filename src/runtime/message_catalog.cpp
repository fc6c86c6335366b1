#include "runtime/message_catalog.h"

namespace iqrx::runtime {

std::string MessageCatalog::GetI18nText(std::string_view label) {
    try {
        if (!loaded_) {
            auto document = makeDocument_();
            if (document->Load(file_)) loaded_ = std::move(document);
        }
        const std::string path = "I18NTEXT/" + std::string(label);
        if (const auto text = loaded_ ? loaded_->SelectSingleNodeText(path) : std::nullopt) return *text;
    } catch (const std::exception&) {
        // Without a text the label still tells the reader what happened.
    }
    return std::string(label);
}

std::string MessageCatalog::GetI18nText(std::string_view label, std::initializer_list<std::string_view> values) {
    std::string text = GetI18nText(label);
    for (int number = 1; const std::string_view value : values)
        text = Fill(std::move(text), "%" + std::to_string(number++), value);
    return text;
}

std::string Fill(std::string text, std::string_view placeholder, std::string_view value) {
    for (auto at = text.find(placeholder); at != std::string::npos;
         at = text.find(placeholder, at + value.size()))
        text.replace(at, placeholder.size(), value);
    return text;
}

std::string FillFirst(std::string text, std::string_view placeholder, std::string_view value) {
    if (const auto at = text.find(placeholder); at != std::string::npos)
        text.replace(at, placeholder.size(), value);
    return text;
}

}  // namespace iqrx::runtime
