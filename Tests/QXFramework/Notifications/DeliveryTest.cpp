// DeliveryTest.cpp - the order of a delivery, and clients that change the pool from inside it.

#include "NotificationFixture.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace NotificationTests {
namespace {

class Delivery : public NotificationFixture
{
protected:
    void SetUp() override
    {
        NotificationFixture::SetUp();
        distributor = &KeepDistributor();
        for (const char name : {'a', 'b', 'c', 'd'}) {
            clients.push_back(MakeClient(name));
        }
    }
    void TearDown() override
    {
        std::vector<RCPtr<LTestClient>>().swap(clients);
        NotificationFixture::TearDown();
    }

    /// Registers the first `count` clients for "A", in order of their names.
    void Register(std::size_t count)
    {
        for (std::size_t index = 0; index < count; ++index) {
            distributor->RegisterNotificationClient(clients[index], "A", 0);
        }
    }
    void Unregister(std::size_t index)
    {
        distributor->UnregisterNotificationClient(clients[index], "A");
    }
    std::string Deliver()
    {
        distributor->DeliverNotificationAllClients(Make());
        return TakeJournal();
    }

    LNotificationDistributor* distributor = nullptr;
    std::vector<RCPtr<LTestClient>> clients;
};

TEST_F(Delivery, ServesTheClientsOfTheNameOnly)
{
    distributor->RegisterNotificationClient(clients[0], "A", 0);
    distributor->RegisterNotificationClient(clients[1], "B", 0);

    EXPECT_EQ(distributor->DeliverNotificationAllClients(Make("B")), kResultSuccess);
    EXPECT_EQ(distributor->DeliverNotificationAllClients(Make("C")), kResultNothingDone);
    EXPECT_EQ(journal, "b");
}

TEST_F(Delivery, NamesItsDistributorAndItsNotification)
{
    Register(1);
    const RCPtr<LNotification> sent = Make();
    clients[0]->onHandle = [this, &sent](const auto& by, const auto& notification) {
        EXPECT_EQ(by.Get(), distributor);
        EXPECT_EQ(notification, sent);
    };

    EXPECT_EQ(distributor->DeliverNotificationAllClients(sent), kResultSuccess);
    EXPECT_EQ(journal, "a");
    EXPECT_EQ(sent->GetReferenceCount(), 1);
}

TEST_F(Delivery, ReachesOneClientDirectlyWhetherItIsRegisteredOrNot)
{
    Register(1);

    distributor->DeliverNotification(clients[0], Make("B"));
    distributor->DeliverNotification(clients[3], Make("A"));

    EXPECT_EQ(journal, "ad");
}

TEST_F(Delivery, GoesOnWhenClientsUnregisterThemselvesOrOthers)
{
    struct Row
    {
        const char* what;
        std::size_t actor;
        std::vector<std::size_t> leaving;
        const char* served;
        const char* servedNextTime;
    };
    const Row rows[] = {
        {"the first served leaves", 3, {3}, "dcba", "cba"},
        {"one in the middle leaves", 1, {1}, "dcba", "dca"},
        {"the last served leaves", 0, {0}, "dcba", "dcb"},
        {"one not yet served is removed", 2, {0}, "dcb", "dcb"},
        {"the next to be served is removed", 2, {1}, "dca", "dca"},
        {"one already served is removed", 1, {3}, "dcba", "cba"},
        {"itself and one below", 2, {2, 0}, "dcb", "db"},
        {"itself and one above", 1, {3, 1}, "dcba", "ca"},
        {"all below", 3, {0, 1, 2}, "d", "d"},
        {"all", 2, {0, 1, 2, 3}, "dc", ""},
        {"all, from the top", 2, {3, 2, 1, 0}, "dc", ""},
    };

    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        Register(4);
        clients[row.actor]->onHandle = [this, &row](const auto&, const auto&) {
            for (const std::size_t index : row.leaving) {
                Unregister(index);
            }
        };

        EXPECT_EQ(Deliver(), row.served);

        clients[row.actor]->onHandle = nullptr;
        EXPECT_EQ(Deliver(), row.servedNextTime);
        for (std::size_t index = 0; index < 4; ++index) {
            Unregister(index);
        }
    }
}

TEST_F(Delivery, GoesOnRightWhenTheEndOfAClientUnregistersAnother)
{
    struct Row
    {
        const char* what;
        std::vector<std::size_t> leaving;
        const char* served;
    };
    const Row rows[] = {
        {"one below", {0}, "dxcb"},     {"the next", {2}, "dxba"},   {"one above", {3}, "dxcba"},
        {"all below", {0, 1, 2}, "dx"}, {"all", {3, 2, 1, 0}, "dx"},
    };

    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        Register(3);
        RCPtr<LTestClient> dying = MakeUnkeptClient('x');
        distributor->RegisterNotificationClient(dying, "A", 0);
        distributor->RegisterNotificationClient(clients[3], "A", 0);
        dying->onDestruction = [this, &row] {
            for (const std::size_t index : row.leaving) {
                Unregister(index);
            }
        };
        dying->onHandle = [&dying](const auto& by, const auto&) {
            by->UnregisterNotificationClient(dying, "A");
            dying = nullptr;
        };

        EXPECT_EQ(Deliver(), row.served);

        for (std::size_t index = 0; index < 4; ++index) {
            Unregister(index);
        }
    }
}

TEST_F(Delivery, ServesClientsRegisteredMeanwhileFromTheNextOneOn)
{
    Register(2);
    clients[1]->onHandle = [this](const auto&, const auto&) {
        distributor->RegisterNotificationClient(clients[2], "A", 0);
        distributor->RegisterNotificationClient(clients[3], "A", 0);
    };

    EXPECT_EQ(Deliver(), "ba");
    EXPECT_EQ(Deliver(), "dcba");
}

TEST_F(Delivery, ServesAClientThatLeftAndCameBackOnce)
{
    Register(3);
    clients[1]->onHandle = [this](const auto&, const auto&) {
        Unregister(1);
        distributor->RegisterNotificationClient(clients[1], "A", 0);
    };

    EXPECT_EQ(Deliver(), "cba");
    clients[1]->onHandle = nullptr;
    EXPECT_EQ(Deliver(), "bca");
}

TEST_F(Delivery, RunsInsideAnotherOfTheSameName)
{
    Register(3);
    bool isNested = false;
    clients[2]->onHandle = [this, &isNested](const auto&, const auto&) {
        if (!std::exchange(isNested, true)) {
            distributor->DeliverNotificationAllClients(Make());
        }
    };

    EXPECT_EQ(Deliver(), "ccbaba");
}

TEST_F(Delivery, GoesOnWhenARemovalHappensInsideAnInnerOne)
{
    Register(4);
    int depth = 0;
    clients[3]->onHandle = [this, &depth](const auto&, const auto&) {
        if (++depth == 1) {
            distributor->DeliverNotificationAllClients(Make());
        }
    };
    clients[1]->onHandle = [this](const auto&, const auto&) {
        Unregister(0);
        Unregister(1);
    };

    // The inner walk serves d, c, b; b takes a and itself out of both walks.
    EXPECT_EQ(Deliver(), "ddcbc");
}

TEST_F(Delivery, ServesOneClientByItsIndexAndReturnsWhereToGoOn)
{
    Register(3);
    const auto pool = distributor->GetNotificationClientPool(LNotification::GetNotificationID("A"));

    EXPECT_EQ(pool->DeliverNotification(*distributor, 1, Make()), 1u);
    EXPECT_EQ(TakeJournal(), "b");

    clients[2]->onHandle = [this](const auto&, const auto&) { Unregister(0); };
    EXPECT_EQ(pool->DeliverNotification(*distributor, 2, Make()), 1u);
    EXPECT_EQ(TakeJournal(), "c");

    EXPECT_EQ(pool->DeliverNotification(*distributor, 2, Make()), 2u) << "one client is gone";
    EXPECT_EQ(pool->DeliverNotification(*distributor, 0xFFFFFFFFu, Make()), 0xFFFFFFFFu);
    EXPECT_EQ(pool->DeliverNotification(*distributor, 1, nullptr), 1u);
    EXPECT_EQ(journal, "");
}

TEST_F(Delivery, ServesAPoolAndReturnsWhetherItHadClients)
{
    Register(2);
    const auto pool = distributor->GetNotificationClientPool(LNotification::GetNotificationID("A"));

    EXPECT_EQ(pool->DeliverNotification(*distributor, Make()), kResultSuccess);
    Unregister(0);
    Unregister(1);
    EXPECT_EQ(pool->DeliverNotification(*distributor, Make()), kResultNothingDone);
    EXPECT_EQ(journal, "ba");
}

TEST_F(Delivery, EndsAtAnExceptionAndStartsAfreshTheNextTime)
{
    Register(3);
    clients[1]->onHandle = [](const auto&, const auto&) { throw std::runtime_error("no"); };

    EXPECT_THROW(distributor->DeliverNotificationAllClients(Make()), std::runtime_error);
    EXPECT_EQ(TakeJournal(), "cb");

    clients[1]->onHandle = nullptr;
    EXPECT_EQ(Deliver(), "cba");
    EXPECT_EQ(CountsOf(*distributor), "5/4");
}

TEST_F(Delivery, GoesOnAfterAnExceptionOutOfAnInnerOne)
{
    Register(3);
    bool isNested = false;
    clients[2]->onHandle = [this, &isNested](const auto&, const auto&) {
        if (!std::exchange(isNested, true)) {
            EXPECT_THROW(distributor->DeliverNotificationAllClients(Make()), int);
            Unregister(0);
        } else {
            throw 1;
        }
    };

    EXPECT_EQ(Deliver(), "ccb");
}

TEST_F(Delivery, HoldsTheClientAndItsRecordDuringTheCall)
{
    Register(2);
    const auto pool = distributor->GetNotificationClientPool(LNotification::GetNotificationID("A"));
    const int32 holders = clients[0]->GetReferenceCount();
    std::vector<int32> seen;
    clients[0]->onHandle = [this, &seen](const auto&, const auto&) {
        seen.push_back(clients[0]->GetReferenceCount());
        Unregister(0);
        seen.push_back(clients[0]->GetReferenceCount());
    };

    Deliver();
    // Without its registration the record of the running call is a holder all the same.
    EXPECT_EQ(seen, (std::vector<int32>{holders + 1, holders + 1}));

    seen.clear();
    Register(1);
    pool->DeliverNotification(*distributor, 1, Make());
    EXPECT_EQ(seen, (std::vector<int32>{holders + 1, holders + 1}));
    EXPECT_EQ(clients[0]->GetReferenceCount(), holders - 1) << "it is no longer registered";
}

/// Runs an action once when it gets another holder.
class LClientThatActsWhenHeld : public LTestClient
{
public:
    using LTestClient::LTestClient;

    int32 AddReference() override
    {
        if (const auto act = std::exchange(onAdd, nullptr)) {
            act();
        }
        return LTestClient::AddReference();
    }

    std::function<void()> onAdd;
};

TEST_F(Delivery, HoldsTheRecordBeforeItsClient)
{
    const RCPtr<LClientThatActsWhenHeld> client(new LClientThatActsWhenHeld('x', journal));
    distributor->RegisterNotificationClient(client, "A", 0);
    client->onAdd = [this, &client] { distributor->UnregisterNotificationClient(client); };

    EXPECT_EQ(Deliver(), "x") << "it left when the delivery to it had begun";

    EXPECT_EQ(Deliver(), "");
}

TEST_F(Delivery, KeepsEverythingAliveThatAClientReleases)
{
    RCPtr<LNotificationDistributor> held = LNotificationDistributor::Create();
    RCPtr<LNotification> notification = LNotification::Create("A", MakePayload());
    RCPtr<LTestClient> client = MakeUnkeptClient('x');
    RCPtr<LTestClient> second = MakeUnkeptClient('y');
    held->RegisterNotificationClient(second, "A", 0);
    held->RegisterNotificationClient(client, "A", 0);
    client->onHandle = [&](const auto& by, const auto& message) {
        by->UnregisterNotificationClient(client);
        client = nullptr;
        held = nullptr;
        notification = nullptr;
        EXPECT_NE(message->GetData(), nullptr);
    };
    second->onHandle = [&](const auto& by, const auto& message) {
        EXPECT_NE(message->GetData(), nullptr);
        by->UnregisterNotificationClient(second);
        second = nullptr;
    };

    held->DeliverNotificationAllClients(notification);

    EXPECT_EQ(journal, "xy");
    EXPECT_EQ(LTestClient::sLiveCount, 4);
    EXPECT_EQ(Witness::GetLiveCount(), 0);
}

TEST_F(Delivery, KeepsASingleClientAliveToo)
{
    RCPtr<LTestClient> client = MakeUnkeptClient('x');
    RCPtr<LNotification> notification = LNotification::Create("A", MakePayload());
    client->onHandle = [&](const auto&, const auto& message) {
        client = nullptr;
        notification = nullptr;
        EXPECT_NE(message->GetData(), nullptr);
    };

    distributor->DeliverNotification(client, notification);

    EXPECT_EQ(journal, "x");
    EXPECT_EQ(Witness::GetLiveCount(), 0);
}

} // namespace
} // namespace NotificationTests
