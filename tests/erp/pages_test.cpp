#include "erp/extract_fixture.h"

namespace iqrx::erp::extract {
namespace {

using Texts = std::vector<std::string>;

std::string ObjectRows(int count) {
    std::string text = "ccfg,crob,oseq,desc\n";
    for (int i = 1; i <= count; ++i)
        text += "C" + std::to_string(i / 10) + ",O" + std::to_string(i % 10) + ",1,row " + std::to_string(i) +
                "\n";
    return text;
}

class Pages : public Extract {
protected:
    Pages() : manager(erp->CreateManager(kObjects)) {}

    // The sizes of the pages of one listing, its records' descriptions in `seen`.
    std::vector<int> Sizes() {
        std::vector<int> sizes;
        Value callId = Long{0}, complete = std::string("N");
        Value configuration = std::string(), object = std::string(), number = Long{0};
        do {
            const ObjectRef page = platform::ToObject(Call(*manager, "ListObjects", configuration, object,
                                                           number, Long{750}, ByRef{callId}, ByRef{complete}));
            const ObjectRef wrapper = platform::ToObject(page->Get("getRecordSetObjects"));
            const int size = platform::ToLong(wrapper->Get("sizeObjects"));
            sizes.push_back(size);
            EXPECT_EQ(page->Get("getSetComplete"), complete);
            EXPECT_EQ(page->Get("getCallId"), callId);
            for (Long i = 0; i < size; ++i) {
                const ObjectRef record = platform::ToObject(Call(*wrapper, "getObjectsAt", i));
                seen.push_back(TextOf(record->Get("getDescription")));
                configuration = record->Get("getConfiguration");
                object = record->Get("GetObject");
                number = record->Get("getObjectNumber");
            }
        } while (complete == Value(std::string("N")));
        return sizes;
    }

    ObjectRef manager;
    Texts seen;
};

TEST_F(Pages, HoldAsManyObjectsAsAskedForAndTheLastSaysSo) {
    const std::pair<int, std::vector<int>> cases[] = {{0, {0}},     {1, {1}},        {749, {749}},
                                                      {750, {750}}, {751, {750, 1}}, {2250, {750, 750, 750}}};
    for (const auto& [count, sizes] : cases) {
        Write("tscfg200.csv", ObjectRows(count));
        manager = erp->CreateManager(kObjects);
        seen.clear();
        EXPECT_EQ(Sizes(), sizes) << count;
        Texts expected;
        for (int i = 1; i <= count; ++i) expected.push_back("row " + std::to_string(i));
        EXPECT_EQ(seen, expected) << count;
    }
}

TEST_F(Pages, OfANewListingContinueAfterTheKey) {
    Write("tscfg200.csv", ObjectRows(25));
    Value callId = Long{0}, complete = std::string("N");
    const ObjectRef page =
        platform::ToObject(Call(*manager, "ListObjects", std::string("C2"), std::string("O3"), Long{1},
                                Long{750}, ByRef{callId}, ByRef{complete}));
    const ObjectRef wrapper = platform::ToObject(page->Get("getRecordSetObjects"));
    ASSERT_EQ(wrapper->Get("sizeObjects"), Value(Long{2}));
    EXPECT_EQ(platform::ToObject(Call(*wrapper, "getObjectsAt", Long{0}))->Get("getDescription"),
              Value(std::string("row 24")));
}

TEST_F(Pages, OfTwoListingsDoNotDisturbEachOther) {
    Write("tscfg200.csv", ObjectRows(4));
    const auto next = [&](Value& callId) {
        Value complete = std::string("N");
        const ObjectRef page = platform::ToObject(Call(*manager, "ListObjects", std::string(), std::string(),
                                                       Long{0}, Long{1}, ByRef{callId}, ByRef{complete}));
        const ObjectRef wrapper = platform::ToObject(page->Get("getRecordSetObjects"));
        return TextOf(platform::ToObject(Call(*wrapper, "getObjectsAt", Long{0}))->Get("getDescription"));
    };
    Value one = Long{0}, other = Long{0};
    EXPECT_EQ(next(one), "row 1");
    EXPECT_EQ(next(one), "row 2");
    EXPECT_EQ(next(other), "row 1");
    EXPECT_EQ(next(one), "row 3");
    EXPECT_EQ(next(other), "row 2");
}

TEST_F(Pages, AreRefusedForAnUnknownCallIdAndAnIndexOutside) {
    Write("tscfg200.csv", ObjectRows(1));
    Value callId = Long{7}, complete = std::string("N");
    EXPECT_EQ(ErrorOf([&] {
                  Call(*manager, "ListObjects", std::string(), std::string(), Long{0}, Long{750},
                       ByRef{callId}, ByRef{complete});
              }),
              "No listing is open under call id 7");
    callId = Long{0};
    const ObjectRef page = platform::ToObject(Call(*manager, "ListObjects", std::string(), std::string(),
                                                   Long{0}, Long{750}, ByRef{callId}, ByRef{complete}));
    const ObjectRef wrapper = platform::ToObject(page->Get("getRecordSetObjects"));
    EXPECT_NE(ErrorOf([&] { Call(*wrapper, "getObjectsAt", Long{1}); }), "(no error)");
    EXPECT_NE(ErrorOf([&] { Call(*wrapper, "getObjectsAt", Long{-1}); }), "(no error)");
}

TEST_F(Pages, AreRefusedAfterTheLastOfTheirListing) {
    Write("tscfg200.csv", ObjectRows(2));
    Value callId = Long{0}, complete = std::string("N");
    Objects(*manager, callId, complete, 1);
    Objects(*manager, callId, complete, 1);
    EXPECT_EQ(complete, Value(std::string("Y")));
    EXPECT_EQ(ErrorOf([&] { Objects(*manager, callId, complete, 1); }), "No listing is open under call id 1");
}

TEST_F(Pages, AreRefusedAfterOneThatFailed) {
    Write("tscfg200.csv", ObjectRows(2) + "C1,O1,one,row\n" + "C2,O2,2,row\n");
    Value callId = Long{0}, complete = std::string("N");
    Objects(*manager, callId, complete, 1);
    EXPECT_EQ(ErrorOf([&] { Objects(*manager, callId, complete, 1); }),
              PathOf("tscfg200.csv") + ", line 4, column 'oseq': 'one' is not a whole number of 32 bits");
    EXPECT_EQ(ErrorOf([&] { Objects(*manager, callId, complete, 1); }), "No listing is open under call id 1");
}

TEST_F(Pages, EndWithTheManagersUse) {
    Write("tscfg200.csv", ObjectRows(2));
    Value callId = Long{0}, complete = std::string("N");
    Call(*manager, "ListObjects", std::string(), std::string(), Long{0}, Long{1}, ByRef{callId},
         ByRef{complete});
    Call(*manager, "CloseManager");
    EXPECT_NE(ErrorOf([&] {
                  Call(*manager, "ListObjects", std::string("C0"), std::string("O1"), Long{1}, Long{1},
                       ByRef{callId}, ByRef{complete});
              }),
              "(no error)");
}

}  // namespace
}  // namespace iqrx::erp::extract
