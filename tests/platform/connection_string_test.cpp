#include "platform/connection_string.h"

#include <gtest/gtest.h>

#include "platform/error.h"

namespace iqrx::platform {
namespace {

TEST(ConnectionStrings, FindKeysWhateverTheirCase) {
    const ConnectionString text("Provider=SQLite; data SOURCE = /tmp/a b.db ;");
    EXPECT_EQ(text.Find("provider"), "SQLite");
    EXPECT_EQ(text.Find("Data Source"), "/tmp/a b.db");
    EXPECT_FALSE(text.Has("Driver"));
}

TEST(ConnectionStrings, TakeValuesInQuotesAndBraces) {
    const ConnectionString text(R"(A="x;y";B={p;q};C="say ""hi""";D={a}}b};E=)");
    EXPECT_EQ(text.Find("A"), "x;y");
    EXPECT_EQ(text.Find("B"), "p;q");
    EXPECT_EQ(text.Find("C"), "say \"hi\"");
    EXPECT_EQ(text.Find("D"), "a}b");
    EXPECT_EQ(text.Find("E"), "");
    EXPECT_EQ(text.Text(), R"(A={x;y};B={p;q};C=say "hi";D={a}}b};E=;)");
}

TEST(ConnectionStrings, NameThePlaceOfWhatTheyCannotRead) {
    for (const char* text : {"nonsense", "A=1;nonsense;B=2", "A={open", "A=\"x\" y"}) {
        try {
            ConnectionString read(text);
            FAIL() << text;
        } catch (const RuntimeError& error) {
            EXPECT_NE(error.description.find("connection string"), std::string::npos) << error.description;
        }
    }
}

}  // namespace
}  // namespace iqrx::platform
