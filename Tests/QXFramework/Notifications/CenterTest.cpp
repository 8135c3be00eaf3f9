// CenterTest.cpp - centers as meeting points, and their manager.

#include "NotificationFixture.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace NotificationTests {
namespace {

using Center = LNotificationCenter;
using Manager = LNotificationCenterManager;
using QX::String;

/// A center with one client, whose only holder a test may drop.
class NotificationCenter : public NotificationFixture
{
protected:
    void SetUp() override
    {
        NotificationFixture::SetUp();
        held = Center::Create("center");
        center = held.Get();
        client = MakeClient('a');
        held->RegisterNotificationClient(client, "A", 0);
    }
    void TearDown() override
    {
        held = nullptr;
        client = nullptr;
        NotificationFixture::TearDown();
    }

    RCPtr<Center> held;
    Center* center = nullptr;
    RCPtr<LTestClient> client;
};

TEST_F(NotificationCenter, HasTheNameThatItWasMadeWith)
{
    EXPECT_STREQ(KeepCenter("application").GetName().CStr(), "application");
    EXPECT_STREQ(KeepCenter("").GetName().CStr(), "");
}

TEST_F(NotificationCenter, DeliversToItsOwnClients)
{
    auto& other = KeepCenter("other");
    client->onHandle = [this](const auto& by, const auto&) { EXPECT_EQ(by.Get(), center); };

    center->PostForBroadcast(Make());
    other.PostForBroadcast(Make());
    EXPECT_FALSE(center->DeliverPendingNotifications(false));
    EXPECT_FALSE(other.DeliverPendingNotifications(false));

    EXPECT_EQ(journal, "a");
}

TEST_F(NotificationCenter, RefusesAnotherDistributor)
{
    EXPECT_EQ(center->SetDistributor(LNotificationDistributor::Create()), kResultFailure);
}

TEST_F(NotificationCenter, DiscardsWhatIsPendingWhenItsLastHolderGoes)
{
    held->RegisterNotificationClient(client, "B", 0);
    const auto pending = LNotification::Create("A", MakePayload());
    held->PostForBroadcast(pending);

    held = nullptr;

    EXPECT_EQ(journal, "!a!a");
    EXPECT_FALSE(pending->IsPosted());
    EXPECT_EQ(pending->GetReferenceCount(), 1);
}

TEST_F(NotificationCenter, FinishesItsDeliveryWhenAClientDropsTheLastHolder)
{
    const auto second = MakeClient('b');
    held->RegisterNotificationClient(second, "A", 0);
    second->onHandle = [this](const auto& by, const auto&) {
        if (held) {
            by->DeliverNotificationAllClients(nullptr);
            held->PostForBroadcast(Make());
            held = nullptr;
        }
    };
    held->PostForBroadcast(Make());
    held->PostForBroadcast(Make());

    EXPECT_TRUE(center->DeliverPendingNotifications(false)) << "one was posted meanwhile";

    EXPECT_EQ(journal, "baba!b!a");
}

TEST_F(NotificationCenter, EndsAfterADirectDeliveryInWhichItsLastHolderWent)
{
    client->onHandle = [this](const auto&, const auto&) { held = nullptr; };

    EXPECT_EQ(center->DeliverNotificationAllClients(Make()), kResultSuccess);

    EXPECT_EQ(journal, "a!a");
}

TEST_F(NotificationCenter, MayBePostedToWhileItAsksItsClients)
{
    const RCPtr<LNotification> late = Make();
    client->onForce = [&](const auto& by, const char* id) {
        EXPECT_EQ(center->PostForBroadcast(late), kResultSuccess);
        return client->Leave(by, id);
    };

    held = nullptr;

    EXPECT_EQ(journal, "!a");
    EXPECT_FALSE(late->IsPosted());
    EXPECT_EQ(late->GetReferenceCount(), 1);
}

class CenterManager : public NotificationFixture
{
protected:
    void SetUp() override
    {
        NotificationFixture::SetUp();
        manager = Manager::Create();
        client = MakeClient('a');
    }
    /// Makes a center where the client is registered for "A".
    RCPtr<Center> MakeCenter(const char* name)
    {
        RCPtr<Center> center = manager->GetOrCreateNotificationCenter(name);
        center->RegisterNotificationClient(client, "A", 0);
        return center;
    }
    void TearDown() override
    {
        manager = nullptr;
        client = nullptr;
        NotificationFixture::TearDown();
    }

    RCPtr<Manager> manager;
    RCPtr<LTestClient> client;
};

TEST_F(CenterManager, MakesNoCenterForAnEmptyName)
{
    const auto& none = manager->GetOrCreateNotificationCenter("");

    EXPECT_EQ(&none, &RCPtr<Center>::Null);
    EXPECT_EQ(manager->GetNotificationCenter(""), nullptr);
    EXPECT_FALSE(manager->DeliverPendingNotificationsAllCenters(true));
}

TEST_F(CenterManager, FindsTheCenterThatItHasMade)
{
    EXPECT_EQ(&manager->GetNotificationCenter("application"), &RCPtr<Center>::Null);

    const RCPtr<Center>& entry = manager->GetOrCreateNotificationCenter("application");
    EXPECT_EQ(&manager->GetNotificationCenter("application"), &entry);
    EXPECT_EQ(CountsOf(*entry), "3/2");
    const RCPtr<Center> made = entry;
    EXPECT_EQ(manager->GetOrCreateNotificationCenter("application"), made);
    EXPECT_EQ(manager->GetNotificationCenter("application"), made);
    EXPECT_EQ(manager->GetNotificationCenter(Manager::DEFUALT_NOTIFICATION_CENTER_NAME), made);

    const RCPtr<Center> other = manager->GetOrCreateNotificationCenter("other");
    EXPECT_NE(other, made);
    EXPECT_EQ(manager->GetNotificationCenter("application"), made);
    EXPECT_EQ(manager->GetNotificationCenter("other"), other);
    EXPECT_EQ(manager->GetOrCreateNotificationCenter("other"), other);
    EXPECT_EQ(CountsOf(*made), "4/2");
}

TEST_F(CenterManager, ComparesNamesExactly)
{
    const RCPtr<Center> lower = manager->GetOrCreateNotificationCenter("name");

    EXPECT_EQ(manager->GetNotificationCenter("Name"), nullptr);
    EXPECT_EQ(manager->GetNotificationCenter("name "), nullptr);
    EXPECT_NE(manager->GetOrCreateNotificationCenter("Name"), lower);
}

TEST_F(CenterManager, DeliversInAllCentersFromTheLast)
{
    std::string order;
    client->onHandle = [&order](const auto& by, const auto&) {
        order += RCPtr<Center>::Downcast(by)->GetName().CStr();
    };
    for (const char* const name : {"1", "2", "3"}) {
        const RCPtr<Center> center = MakeCenter(name);
        center->RegisterNotificationClient(client, QX::NID_IDLE, 0);
        center->PostForBroadcast(Make());
    }

    EXPECT_FALSE(manager->DeliverPendingNotificationsAllCenters(false));
    EXPECT_EQ(order, "321");
    EXPECT_FALSE(manager->DeliverPendingNotificationsAllCenters(true));
    EXPECT_EQ(order, "321321");
}

TEST_F(CenterManager, ReturnsWhetherAnythingIsPendingAnywhere)
{
    const RCPtr<Center> first = MakeCenter("1");
    const RCPtr<Center> second = MakeCenter("2");
    client->onHandle = [&](const auto& by, const auto&) {
        // The center delivered first posts again; the other one is called nevertheless.
        if (by == second) {
            second->PostForBroadcast(Make("B"));
        }
    };
    first->PostForBroadcast(Make());
    second->PostForBroadcast(Make());

    EXPECT_TRUE(manager->DeliverPendingNotificationsAllCenters(false));
    EXPECT_EQ(journal, "aa");
    EXPECT_FALSE(manager->DeliverPendingNotificationsAllCenters(false));
}

TEST_F(CenterManager, DoesNotReportAPostToACenterThatWasAlreadyCalled)
{
    const RCPtr<Center> first = MakeCenter("1");
    const RCPtr<Center> second = MakeCenter("2");
    const RCPtr<LNotification> late = Make("B");
    client->onHandle = [&](const auto&, const auto&) { second->PostForBroadcast(late); };
    first->PostForBroadcast(Make());

    EXPECT_FALSE(manager->DeliverPendingNotificationsAllCenters(false));

    EXPECT_EQ(journal, "a");
    EXPECT_TRUE(late->IsPosted());
    EXPECT_FALSE(manager->DeliverPendingNotificationsAllCenters(false));
    EXPECT_FALSE(late->IsPosted());
}

TEST_F(CenterManager, LeavesCentersThatClientsMakeToTheNextCall)
{
    const RCPtr<Center> first = manager->GetOrCreateNotificationCenter("first");
    first->RegisterNotificationClient(client, QX::NID_IDLE, 0);
    client->onHandle = [this, made = 0](const auto&, const auto&) mutable {
        for (int count = 0; count < 20; ++count) {
            const RCPtr<Center> center =
                manager->GetOrCreateNotificationCenter(String::Format("%d", made++));
            center->RegisterNotificationClient(client, QX::NID_IDLE, 0);
        }
    };

    EXPECT_FALSE(manager->DeliverPendingNotificationsAllCenters(true));
    EXPECT_EQ(TakeJournal(), "a");

    client->onHandle = nullptr;
    EXPECT_FALSE(manager->DeliverPendingNotificationsAllCenters(true));
    EXPECT_EQ(TakeJournal(), std::string(21, 'a'));
}

TEST_F(CenterManager, LivesUntilTheEndOfADeliveryInWhichItIsDropped)
{
    for (const char* const name : {"1", "2"}) {
        MakeCenter(name)->PostForBroadcast(Make());
    }
    client->onHandle = [this](const auto&, const auto&) { manager = nullptr; };
    Manager& dropped = *manager;

    EXPECT_FALSE(dropped.DeliverPendingNotificationsAllCenters(false));

    EXPECT_EQ(journal, "aa!a!a");
}

TEST_F(CenterManager, LetsAnExceptionEndTheRound)
{
    for (const char* const name : {"1", "2"}) {
        MakeCenter(name)->PostForBroadcast(Make());
    }
    client->onHandle = [](const auto&, const auto&) { throw 1; };

    EXPECT_THROW(manager->DeliverPendingNotificationsAllCenters(false), int);

    EXPECT_EQ(journal, "a");
}

TEST_F(CenterManager, DismantlesItsCentersAtItsEnd)
{
    MakeCenter("1");
    MakeCenter("2");

    manager = nullptr;

    EXPECT_EQ(journal, "!a!a");
}

TEST_F(CenterManager, IsTheDefaultOnlyWhenItHasBeenSet)
{
    EXPECT_EQ(Manager::GetDefaultManager(), nullptr);
    EXPECT_STREQ(Manager::DEFUALT_NOTIFICATION_CENTER_NAME.CStr(), "application");

    Manager::SetDefaultManager(manager);
    EXPECT_EQ(Manager::GetDefaultManager(), manager);
    EXPECT_EQ(manager->GetReferenceCount(), 2);

    Manager::SetDefaultManager(nullptr);
    EXPECT_EQ(Manager::GetDefaultManager(), nullptr);
}

} // namespace
} // namespace NotificationTests
