#include "com_server/offer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>

#include "com_server/com_site.h"

namespace iqrx::testing {
namespace {

using hosting::windows::ClassObjects;
using hosting::windows::ComRequests;
using hosting::windows::Offer;
using platform::windows::ComRef;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

// COM's table of classes in the test: it keeps the factories as COM's stubs would and records every call.
class FakeClassObjects : public ClassObjects {
public:
    DWORD Register(REFCLSID classId, IUnknown* factory, DWORD use) override {
        const bool isHandler = classId == __uuidof(::clsDataCopyHandler);
        (isHandler ? handler : dataCopy) = ComRef<IUnknown>::Share(factory).As<IClassFactory>();
        const bool once = (use & (REGCLS_MULTIPLEUSE | REGCLS_MULTI_SEPARATE)) == 0;
        calls.push_back("register " + NameOf(classId) + (once ? " once" : " often") +
                        ((use & REGCLS_SUSPENDED) != 0 ? " suspended" : ""));
        return isHandler ? kHandlerEntry : kDataCopyEntry;
    }
    void Resume() override {
        calls.push_back("resume");
        if (!resumes) throw platform::RuntimeError(-1, "COM", "no");
    }
    void Revoke(DWORD entry) noexcept override {
        calls.push_back(entry == kHandlerEntry ? "revoke handler" : "revoke data copy");
    }
    HRESULT CreateElsewhere(REFCLSID classId, REFIID, void** object) noexcept override {
        calls.push_back("create " + NameOf(classId) + " elsewhere");
        *object = nullptr;
        return E_ACCESSDENIED;
    }

    std::vector<std::string> calls;
    ComRef<IClassFactory> handler, dataCopy;
    bool resumes = true;

private:
    static constexpr DWORD kHandlerEntry = 11, kDataCopyEntry = 12;
    static std::string NameOf(REFCLSID classId) {
        return classId == __uuidof(::clsDataCopyHandler) ? "handler" : "data copy";
    }
};

class AnOffer : public ComSite, public ::testing::Test {
protected:
    static HRESULT Create(const ComRef<IClassFactory>& factory, ComRef<IDispatch>& object) {
        return factory->CreateInstance(nullptr, IID_IDispatch, object.PutVoid());
    }

    ComRequests requests{process};
    FakeClassObjects classes;
};

TEST_F(AnOffer, OpensTheClassesOnceAllOfThemAreRegistered) {
    const Offer offer(classes, lifetime, requests);
    EXPECT_THAT(classes.calls,
                ElementsAre("register handler once suspended", "register data copy once suspended", "resume"));
    EXPECT_FALSE(offer.Taken());
}

TEST_F(AnOffer, ClosesTheOtherClassWhenOneIsTaken) {
    const Offer offer(classes, lifetime, requests);
    classes.calls.clear();
    ComRef<IDispatch> object;
    ASSERT_EQ(Create(classes.handler, object), S_OK);
    EXPECT_THAT(classes.calls, ElementsAre("revoke data copy"));
    EXPECT_TRUE(offer.Taken());
}

TEST_F(AnOffer, ClosesTheHandlersClassWhenTheOtherIsTaken) {
    const Offer offer(classes, lifetime, requests);
    classes.calls.clear();
    ComRef<IDispatch> object;
    ASSERT_EQ(Create(classes.dataCopy, object), S_OK);
    EXPECT_THAT(classes.calls, ElementsAre("revoke handler"));
}

TEST_F(AnOffer, SendsAClientThatComesLateToAnotherProcess) {
    const Offer offer(classes, lifetime, requests);
    ComRef<IDispatch> object, late;
    ASSERT_EQ(Create(classes.handler, object), S_OK);
    classes.calls.clear();
    EXPECT_EQ(Create(classes.dataCopy, late), E_ACCESSDENIED) << "what the other process returns";
    EXPECT_THAT(classes.calls, ElementsAre("create data copy elsewhere"));
    classes.calls.clear();
    EXPECT_EQ(Create(classes.handler, late), E_ACCESSDENIED) << "a second object of the class that was taken";
    EXPECT_THAT(classes.calls, ElementsAre("revoke handler", "create handler elsewhere"))
        << "revoked first, so that COM does not send the request back";
}

TEST_F(AnOffer, IsNotTakenByAnObjectThatLacksTheInterfaceAskedFor) {
    const Offer offer(classes, lifetime, requests);
    classes.calls.clear();
    ComRef<IUnknown> object;
    EXPECT_EQ(classes.handler->CreateInstance(nullptr, IID_IPersist, object.PutVoid()), E_NOINTERFACE);
    EXPECT_THAT(classes.calls, IsEmpty());
    EXPECT_FALSE(offer.Taken());
}

TEST_F(AnOffer, RevokesWhatIsLeftWhenItEnds) {
    {
        const Offer offer(classes, lifetime, requests);
        ComRef<IDispatch> object;
        ASSERT_EQ(Create(classes.handler, object), S_OK);
        classes.calls.clear();
    }
    EXPECT_THAT(classes.calls, ElementsAre("revoke handler"));
}

TEST_F(AnOffer, RevokesItsClassesWhenTheyCannotBeOpened) {
    classes.resumes = false;
    EXPECT_THROW(Offer(classes, lifetime, requests), platform::RuntimeError);
    EXPECT_EQ(classes.calls.size(), 5U);
    EXPECT_THAT(std::vector(classes.calls.begin() + 3, classes.calls.end()),
                ::testing::UnorderedElementsAre("revoke handler", "revoke data copy"));
}

}  // namespace
}  // namespace iqrx::testing
