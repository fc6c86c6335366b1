#include "runtime/message_catalog.h"

#include <gtest/gtest.h>

#include "support/test_process.h"

namespace iqrx::testing {
namespace {

TEST(MessageCatalog, AnswersALabelsText) {
    FakeXml xml;
    xml.texts = {{"SLBL0504", "Started"}};
    runtime::MessageCatalog catalog(std::ref(xml), "/program");
    EXPECT_EQ(catalog.GetI18nText("SLBL0504"), "Started");
    EXPECT_EQ(catalog.GetI18nText("STIT0010"), "STIT0010") << "a label that the file does not have";
    EXPECT_EQ(xml.loadCount, 1) << "a load that succeeded is kept";
}

TEST(MessageCatalog, AnswersTheLabelWhileTheFileCannotBeLoadedAndTriesAgainEachTime) {
    FakeXml xml;
    xml.texts = {{"SLBL0504", "Started"}};
    xml.loads = false;
    runtime::MessageCatalog catalog(std::ref(xml), "/program");
    EXPECT_EQ(catalog.GetI18nText("SLBL0504"), "SLBL0504");
    EXPECT_EQ(catalog.GetI18nText("SLBL0504"), "SLBL0504");
    EXPECT_EQ(xml.loadCount, 2);
    xml.loads = true;
    EXPECT_EQ(catalog.GetI18nText("SLBL0504"), "Started");
}

TEST(MessageCatalog, AnswersTheLabelWhenThereIsNoXmlComponent) {
    const auto none = []() -> std::unique_ptr<platform::XmlDocument> {
        platform::RaiseRuntimeError(platform::kCannotCreateObject);
    };
    EXPECT_EQ(runtime::MessageCatalog(none, "/program").GetI18nText("SLBL0009"), "SLBL0009");
}

TEST(Placeholders, AreFilledAtAllTheirOccurrences) {
    EXPECT_EQ(runtime::Fill("%1 and %1, %2", "%1", "%1x"), "%1x and %1x, %2");
    EXPECT_EQ(runtime::Fill("none", "%1", "x"), "none");
    EXPECT_EQ(runtime::FillFirst("%1 and %1", "%1", "x"), "x and %1");
}

}  // namespace
}  // namespace iqrx::testing
