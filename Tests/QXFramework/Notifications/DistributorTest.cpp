// DistributorTest.cpp - registration: its results, its flags and the process-wide list.

#include "NotificationFixture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace NotificationTests {
namespace {

using DeliveryFlags = LNotificationDistributor::DeliveryFlags;

class Distributor : public NotificationFixture
{
protected:
    static bool IsListed(const LNotificationDistributor& distributor)
    {
        const auto& list = LNotificationDistributor::GetDistributors();
        for (uint32 index = 0; index < list.GetCount(); ++index) {
            if (list.GetPtr()[index].Get() == &distributor) {
                return true;
            }
        }
        return false;
    }
    static DeliveryFlags PoolFlags(LNotificationDistributor& distributor, const char* name)
    {
        const char* const id = LNotification::GetNotificationID(name);
        return distributor.GetNotificationClientPool(id)->GetDeliveryFlags();
    }
};

TEST_F(Distributor, AnswersRegistrationsByWhatTheyChanged)
{
    auto& distributor = KeepDistributor();
    const auto client = MakeClient('a');

    EXPECT_EQ(distributor.RegisterNotificationClient(client, "A", 0), kResultSuccess);
    EXPECT_EQ(distributor.RegisterNotificationClient(client, "A", 0), kResultNothingDone);
    EXPECT_EQ(distributor.RegisterNotificationClient(client, "A", 6), kResultNothingDone);
    EXPECT_EQ(distributor.RegisterNotificationClient(client, "B", 0), kResultSuccess);
    EXPECT_EQ(distributor.RegisterNotificationClient(client, "", 0), kResultNothingDone);
    EXPECT_EQ(distributor.RegisterNotificationClient(client, nullptr, 0), kResultNothingDone);
    EXPECT_EQ(distributor.RegisterNotificationClient(nullptr, "A", 0), kResultOutOfRange);
    EXPECT_EQ(distributor.RegisterNotificationClient(nullptr, "", 0), kResultOutOfRange);

    DeliveryFlags flags = 0;
    EXPECT_EQ(distributor.GetDeliveryFlags(client, "A", flags), kResultSuccess);
    EXPECT_EQ(flags, 6u);
    const auto pool = distributor.GetNotificationClientPool(LNotification::GetNotificationID("A"));
    EXPECT_EQ(pool->GetClientCount(), 1u);
    EXPECT_EQ(CountsOf(distributor), "4/3");
}

TEST_F(Distributor, AnswersUnregistrationsByWhatTheyChanged)
{
    auto& distributor = KeepDistributor();
    const auto client = MakeClient('a');
    const auto other = MakeClient('b');
    distributor.RegisterNotificationClient(client, "A", 0);

    EXPECT_EQ(distributor.UnregisterNotificationClient(other, "A"), kResultNothingDone);
    EXPECT_EQ(distributor.UnregisterNotificationClient(client, "B"), kResultNothingDone);
    EXPECT_EQ(distributor.UnregisterNotificationClient(client, ""), kResultOutOfRange);
    EXPECT_EQ(distributor.UnregisterNotificationClient(client, nullptr), kResultOutOfRange);
    EXPECT_EQ(distributor.UnregisterNotificationClient(nullptr, "A"), kResultOutOfRange);
    EXPECT_EQ(distributor.UnregisterNotificationClient(client, "A"), kResultSuccess);
    EXPECT_EQ(distributor.UnregisterNotificationClient(client, "A"), kResultNothingDone);
}

TEST_F(Distributor, EntersTheNameOfAClientThatUnregistersFromIt)
{
    auto& distributor = KeepDistributor();
    const uint32 before = LNotification::GetNotificationIDs().GetCount();

    distributor.UnregisterNotificationClient(nullptr, "unregistered.by.nobody");
    EXPECT_EQ(LNotification::GetNotificationIDs().GetCount(), before);

    distributor.UnregisterNotificationClient(MakeClient('a'), "unregistered.unknown");
    EXPECT_EQ(LNotification::GetNotificationIDs().GetCount(), before + 1);
}

TEST_F(Distributor, CountsTheNamesThatAClientWasUnregisteredFrom)
{
    auto& distributor = KeepDistributor();
    const auto client = MakeClient('a');
    const auto other = MakeClient('b');
    for (const char* const name : {"A", "B", "C"}) {
        distributor.RegisterNotificationClient(client, name, 0);
    }
    distributor.RegisterNotificationClient(other, "B", 0);

    EXPECT_EQ(distributor.UnregisterNotificationClient(client), 3);
    EXPECT_EQ(distributor.UnregisterNotificationClient(client), 0);
    EXPECT_EQ(distributor.UnregisterNotificationClient(nullptr), kResultOutOfRange);

    EXPECT_FALSE(distributor.IsClientRegistered(client));
    EXPECT_TRUE(distributor.IsClientRegistered(other));
}

TEST_F(Distributor, UnregistersAClientFromTheLastOfItsNamesFirst)
{
    auto& center = KeepCenter();
    const auto client = MakeClient('a');
    for (const char* const name : {"A", "B", "C"}) {
        center.RegisterNotificationClient(client, name, kLatest);
        // The registration holds the notification until it ends.
        center.PostForBroadcast(
            LNotification::Create(name, MakePayload([this, name] { journal += name; })));
    }
    center.FlushPendingNotifications();
    ASSERT_EQ(journal, "");

    EXPECT_EQ(center.UnregisterNotificationClient(client), 3);

    EXPECT_EQ(journal, "CBA");
}

TEST_F(Distributor, KeepsThePoolOfANameWhenItsLastClientLeaves)
{
    auto& distributor = KeepDistributor();
    const auto client = MakeClient('a');
    distributor.RegisterNotificationClient(client, "A", 0);
    const auto pool = distributor.GetNotificationClientPool(LNotification::GetNotificationID("A"));

    distributor.UnregisterNotificationClient(client, "A");

    EXPECT_EQ(distributor.GetNotificationClientPool(LNotification::GetNotificationID("A")), pool);
    EXPECT_EQ(pool->GetClientCount(), 0u);
    EXPECT_EQ(distributor.DeliverNotificationAllClients(Make("A")), kResultNothingDone);
    EXPECT_EQ(distributor.RegisterNotificationClient(client, "A", 0), kResultSuccess);
    EXPECT_EQ(distributor.GetNotificationClientPool(pool->GetNotificationID()), pool);
}

TEST_F(Distributor, FindsAPoolByItsIDOnly)
{
    auto& distributor = KeepDistributor();
    distributor.RegisterNotificationClient(MakeClient('a'), "A", 0);
    const std::string name = "A";

    EXPECT_EQ(distributor.GetNotificationClientPool(name.c_str()), nullptr);
    EXPECT_EQ(distributor.GetNotificationClientPool(LNotification::GetNotificationID("B")),
              nullptr);
    EXPECT_NE(distributor.GetNotificationClientPool(LNotification::GetNotificationID("A")),
              nullptr);
}

TEST_F(Distributor, AnswersNullsAndUnknownClientsWithoutHarm)
{
    auto& distributor = KeepDistributor();
    const auto client = MakeClient('a');
    distributor.RegisterNotificationClient(client, "A", 5);
    DeliveryFlags flags = 77;

    distributor.DeliverNotification(nullptr, Make());
    distributor.DeliverNotification(client, nullptr);
    EXPECT_EQ(journal, "");
    EXPECT_FALSE(distributor.IsClientRegistered(nullptr));
    EXPECT_EQ(distributor.GetDeliveryFlags(nullptr, "A", flags), kResultFailure);
    EXPECT_EQ(distributor.GetDeliveryFlags(client, nullptr, flags), kResultFailure);
    EXPECT_EQ(distributor.GetDeliveryFlags(client, "", flags), kResultFailure);
    EXPECT_EQ(distributor.GetDeliveryFlags(client, "B", flags), kResultFailure);
    EXPECT_EQ(distributor.GetDeliveryFlags(MakeClient('b'), "A", flags), kResultFailure);
    EXPECT_EQ(flags, 77u);
    EXPECT_EQ(distributor.GetNotificationClientPool(nullptr), nullptr);
    EXPECT_EQ(distributor.DeliverNotificationAllClients(nullptr), kResultOutOfRange);
}

TEST_F(Distributor, PoolsUniteTheFlagsOfTheirClientsAndKeepThemWhenOneLeaves)
{
    auto& distributor = KeepDistributor();
    const auto first = MakeClient('a');
    const auto second = MakeClient('b');

    distributor.RegisterNotificationClient(first, "A", 2);
    distributor.RegisterNotificationClient(second, "A", kLatest);
    EXPECT_EQ(PoolFlags(distributor, "A"), 3u);

    distributor.UnregisterNotificationClient(second, "A");
    EXPECT_EQ(PoolFlags(distributor, "A"), 3u);

    // The same flags again change nothing; other flags make the pool count anew.
    distributor.RegisterNotificationClient(first, "A", 2);
    EXPECT_EQ(PoolFlags(distributor, "A"), 3u);
    distributor.RegisterNotificationClient(first, "A", 8);
    EXPECT_EQ(PoolFlags(distributor, "A"), 8u);

    distributor.RegisterNotificationClient(second, "A", 0);
    EXPECT_EQ(PoolFlags(distributor, "A"), 8u);
    distributor.RegisterNotificationClient(second, "A", 0x80000000u);
    EXPECT_EQ(PoolFlags(distributor, "A"), 0x80000008u);
}

TEST_F(Distributor, PoolsFindTheirClientsByIdentity)
{
    auto& distributor = KeepDistributor();
    const auto first = MakeClient('a');
    const auto second = MakeClient('b');
    distributor.RegisterNotificationClient(first, "A", 0);
    distributor.RegisterNotificationClient(second, "A", 0);
    const auto pool = distributor.GetNotificationClientPool(LNotification::GetNotificationID("A"));

    EXPECT_EQ(pool->GetClientIndex(first), 0);
    EXPECT_EQ(pool->GetClientIndex(second), 1);
    EXPECT_EQ(pool->GetClientIndex(MakeClient('c')), -1);
    EXPECT_EQ(pool->GetClientIndex(nullptr), -1);
    EXPECT_EQ(pool->AddClient(nullptr, 0), kResultOutOfRange);
    EXPECT_EQ(pool->RemoveClient(nullptr), kResultNothingDone);
}

TEST_F(Distributor, IsListedWhileItHasRegistrations)
{
    auto& distributor = KeepDistributor();
    auto& other = KeepDistributor();
    const auto client = MakeClient('a');
    EXPECT_FALSE(IsListed(distributor));

    distributor.RegisterNotificationClient(client, "A", 0);
    distributor.RegisterNotificationClient(client, "B", 0);
    other.RegisterNotificationClient(client, "A", 0);
    EXPECT_TRUE(IsListed(distributor));

    distributor.UnregisterNotificationClient(client, "A");
    EXPECT_TRUE(IsListed(distributor));

    distributor.UnregisterNotificationClient(client, "B");
    EXPECT_FALSE(IsListed(distributor));
    EXPECT_TRUE(IsListed(other));
}

TEST_F(Distributor, LeavesAClientThatWasAddedToItsPoolDirectlyToThePool)
{
    auto& distributor = KeepDistributor();
    const auto counted = MakeClient('a');
    const auto direct = MakeClient('b');
    distributor.RegisterNotificationClient(counted, "A", 0);
    const auto pool = distributor.GetNotificationClientPool(LNotification::GetNotificationID("A"));
    pool->AddClient(direct, 0);

    EXPECT_EQ(pool->RemoveClient(direct), kResultSuccess);
    EXPECT_EQ(CountsOf(distributor), "3/2");

    distributor.UnregisterNotificationClient(counted, "A");
    EXPECT_EQ(CountsOf(distributor), "1/0");
    pool->AddClient(direct, 0);
    EXPECT_EQ(distributor.UnregisterNotificationClient(direct, "A"), kResultSuccess);
    EXPECT_EQ(CountsOf(distributor), "1/0") << "with no count left there is none to give back";
}

} // namespace
} // namespace NotificationTests
