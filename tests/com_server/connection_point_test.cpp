#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

#include "com_server/com_site.h"

namespace iqrx::testing {
namespace {

using hosting::windows::ComRequests;
using hosting::windows::CreateDataCopy;
using platform::windows::ComRef;
using ::testing::ElementsAre;

class ConnectionPoints : public ComSite, public ::testing::Test {
protected:
    ConnectionPoints() : requests(process) {
        const auto copy = CreateDataCopy(lifetime, library, requests).As<_clsDataCopy>();
        container = copy.As<IConnectionPointContainer>();
        container->FindConnectionPoint(__uuidof(__clsDataCopy), point.Put());
        for (Listener& listener : sinks) point->Advise(&listener.sink, &listener.cookie);
    }

    struct Listener {
        EventSink sink;
        DWORD cookie = 0;
    };

    ComRef<IEnumConnections> Connections() const {
        ComRef<IEnumConnections> connections;
        EXPECT_EQ(point->EnumConnections(connections.Put()), S_OK);
        return connections;
    }

    ComRequests requests;
    ComRef<IConnectionPointContainer> container;
    ComRef<IConnectionPoint> point;
    Listener sinks[3];
};

// The cookies that Next hands out, whose sinks are released.
std::vector<DWORD> Next(IEnumConnections& connections, ULONG count) {
    std::vector<CONNECTDATA> items(count);
    ULONG fetched = 99;
    const HRESULT result = connections.Next(count, items.data(), &fetched);
    EXPECT_EQ(result, fetched == count ? S_OK : S_FALSE);
    std::vector<DWORD> cookies;
    for (ULONG i = 0; i < fetched; ++i) {
        cookies.push_back(items[i].dwCookie);
        items[i].pUnk->Release();
    }
    return cookies;
}

TEST_F(ConnectionPoints, AreEnumerated) {
    ComRef<IEnumConnectionPoints> points;
    ASSERT_EQ(container->EnumConnectionPoints(points.Put()), S_OK);
    ComRef<IConnectionPoint> first, second;
    EXPECT_EQ(points->Next(1, first.Put(), nullptr), S_OK);
    EXPECT_EQ(first.Get(), point.Get());
    EXPECT_EQ(points->Next(1, second.Put(), nullptr), S_FALSE);
    EXPECT_FALSE(second);
}

TEST_F(ConnectionPoints, EnumerateTheirSinksInTheOrderInWhichTheyConnected) {
    const auto connections = Connections();
    EXPECT_THAT(Next(*connections.Get(), 2), ElementsAre(sinks[0].cookie, sinks[1].cookie));
    EXPECT_THAT(Next(*connections.Get(), 2), ElementsAre(sinks[2].cookie)) << "fewer are left than asked for";
    EXPECT_THAT(Next(*connections.Get(), 1), ElementsAre());
}

TEST_F(ConnectionPoints, SkipAndResetMoveTheEnumerator) {
    const auto connections = Connections();
    EXPECT_EQ(connections->Skip(2), S_OK);
    EXPECT_THAT(Next(*connections.Get(), 1), ElementsAre(sinks[2].cookie));
    EXPECT_EQ(connections->Reset(), S_OK);
    EXPECT_EQ(connections->Skip(4), S_FALSE) << "past the end";
    EXPECT_THAT(Next(*connections.Get(), 1), ElementsAre());
    EXPECT_EQ(connections->Skip(0), S_OK);
}

TEST_F(ConnectionPoints, ACloneGoesOnByItselfFromWhereItWasMade) {
    const auto connections = Connections();
    connections->Skip(1);
    ComRef<IEnumConnections> clone;
    ASSERT_EQ(connections->Clone(clone.Put()), S_OK);
    EXPECT_THAT(Next(*connections.Get(), 2), ElementsAre(sinks[1].cookie, sinks[2].cookie));
    EXPECT_THAT(Next(*clone.Get(), 1), ElementsAre(sinks[1].cookie));
}

TEST_F(ConnectionPoints, NextNeedsTheNumberFetchedUnlessItIsAskedForOne) {
    const auto connections = Connections();
    CONNECTDATA items[2];
    EXPECT_EQ(connections->Next(2, items, nullptr), E_POINTER);
    EXPECT_EQ(connections->Next(1, nullptr, nullptr), E_POINTER);
    EXPECT_EQ(connections->Clone(nullptr), E_POINTER);
    ASSERT_EQ(connections->Next(1, items, nullptr), S_OK);
    EXPECT_EQ(items[0].dwCookie, sinks[0].cookie) << "what was refused has not moved the enumerator";
    items[0].pUnk->Release();
    EXPECT_EQ(point->EnumConnections(nullptr), E_POINTER);
    EXPECT_EQ(container->EnumConnectionPoints(nullptr), E_POINTER);
}

TEST_F(ConnectionPoints, AnEnumeratorShowsTheSinksOfTheMomentItWasMade) {
    const auto connections = Connections();
    EXPECT_EQ(point->Unadvise(sinks[0].cookie), S_OK);
    EXPECT_THAT(Next(*connections.Get(), 3), ElementsAre(sinks[0].cookie, sinks[1].cookie, sinks[2].cookie));
    EXPECT_THAT(Next(*Connections().Get(), 3), ElementsAre(sinks[1].cookie, sinks[2].cookie));
}

TEST_F(ConnectionPoints, AnEnumeratorReleasesWhatItHolds) {
    const ULONG connected = sinks[0].sink.references;
    {
        const auto connections = Connections();
        ComRef<IEnumConnections> clone;
        connections->Clone(clone.Put());
        EXPECT_EQ(sinks[0].sink.references, connected + 1) << "one snapshot, however many read it";
        CONNECTDATA item;
        ASSERT_EQ(connections->Next(1, &item, nullptr), S_OK);
        EXPECT_EQ(sinks[0].sink.references, connected + 2) << "what is handed out has a reference of its own";
        item.pUnk->Release();
    }
    EXPECT_EQ(sinks[0].sink.references, connected);
}

TEST_F(ConnectionPoints, AnEnumeratorKeepsItsObject) {
    const auto connections = Connections();
    container = {};
    point = {};
    EXPECT_THAT(Next(*connections.Get(), 1), ElementsAre(sinks[0].cookie));
}

}  // namespace
}  // namespace iqrx::testing
