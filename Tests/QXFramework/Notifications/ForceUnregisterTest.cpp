// ForceUnregisterTest.cpp - asking all clients to unregister.

#include "NotificationFixture.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace NotificationTests {
namespace {

class ForceUnregister : public NotificationFixture
{
protected:
    void SetUp() override
    {
        NotificationFixture::SetUp();
        distributor = &KeepDistributor();
        for (const char name : {'a', 'b', 'c', 'd'}) {
            clients.push_back(MakeClient(name));
            distributor->RegisterNotificationClient(clients.back(), "A", 0);
        }
    }
    void TearDown() override
    {
        std::vector<RCPtr<LTestClient>>().swap(clients);
        NotificationFixture::TearDown();
    }

    /// Makes the client at `index` unregister those at `leaving` when it is asked.
    void LetUnregister(std::size_t index, std::vector<std::size_t> leaving)
    {
        clients[index]->onForce = [this, leaving](const auto& by, const char* id) {
            for (const std::size_t who : leaving) {
                by->UnregisterNotificationClient(clients[who], id);
            }
            return kResultSuccess;
        };
    }

    LNotificationDistributor* distributor = nullptr;
    std::vector<RCPtr<LTestClient>> clients;
};

TEST_F(ForceUnregister, AsksEachClientOnceFromTheLast)
{
    EXPECT_EQ(distributor->ForceAllRegisteredClientsToUnregister(), kResultSuccess);

    EXPECT_EQ(journal, "!d!c!b!a");
    EXPECT_EQ(CountsOf(*distributor), "1/0");
}

TEST_F(ForceUnregister, RemovesNoClientByItself)
{
    for (const auto& client : clients) {
        client->Refuse();
    }

    EXPECT_EQ(distributor->ForceAllRegisteredClientsToUnregister(), kResultSuccess);

    EXPECT_EQ(journal, "!d!c!b!a");
    EXPECT_EQ(CountsOf(*distributor), "6/5");
}

TEST_F(ForceUnregister, AsksTheClientsOfTheLastPoolFirstAndNamesIt)
{
    distributor->RegisterNotificationClient(clients[0], "B", 0);
    std::string names;
    for (const auto& client : clients) {
        client->onForce = [this, &names](const auto& by, const char* id) {
            EXPECT_EQ(by.Get(), distributor);
            EXPECT_EQ(id, LNotification::GetNotificationID(id));
            names += id;
            return kResultFailure;
        };
    }

    distributor->ForceAllRegisteredClientsToUnregister();

    EXPECT_EQ(journal, "!a!d!c!b!a");
    EXPECT_EQ(names, "BAAAA");
}

TEST_F(ForceUnregister, AsksOnlyThoseThatAreStillThere)
{
    LetUnregister(3, {3, 0});

    distributor->ForceAllRegisteredClientsToUnregister();

    EXPECT_EQ(journal, "!d!c!b");
}

TEST_F(ForceUnregister, AsksNoClientTwiceWhenOthersLeave)
{
    LetUnregister(3, {0});

    distributor->ForceAllRegisteredClientsToUnregister();

    EXPECT_EQ(journal, "!d!c!b");
    EXPECT_TRUE(distributor->IsClientRegistered(clients[3]));
}

TEST_F(ForceUnregister, HoldsTheClientThatItAsks)
{
    const int32 holders = clients[0]->GetReferenceCount();
    int32 seen = 0;
    clients[0]->onForce = [this, &seen](const auto&, const char*) {
        seen = clients[0]->GetReferenceCount();
        return kResultFailure;
    };

    distributor->ForceAllRegisteredClientsToUnregister();

    EXPECT_EQ(seen, holders + 1);
}

TEST_F(ForceUnregister, EndsWhenOneClientRemovesAll)
{
    LetUnregister(3, {0, 1, 2, 3});

    distributor->ForceAllRegisteredClientsToUnregister();

    EXPECT_EQ(journal, "!d");
    EXPECT_EQ(CountsOf(*distributor), "1/0");
}

TEST_F(ForceUnregister, AsksAClientOnceThatRegistersAgain)
{
    clients[1]->onForce = [this](const auto& by, const char* id) {
        by->UnregisterNotificationClient(clients[1], id);
        return by->RegisterNotificationClient(clients[1], id, 0);
    };

    distributor->ForceAllRegisteredClientsToUnregister();

    EXPECT_EQ(journal, "!d!c!b!a");
    EXPECT_TRUE(distributor->IsClientRegistered(clients[1]));
}

TEST_F(ForceUnregister, LetsAnExceptionPassWhenItIsCalledDirectly)
{
    clients[2]->onForce = [](const auto&, const char*) -> int32 { throw std::runtime_error("no"); };

    EXPECT_THROW(distributor->ForceAllRegisteredClientsToUnregister(), std::runtime_error);

    EXPECT_EQ(journal, "!d!c");
}

TEST_F(ForceUnregister, HoldsTheDistributorUntilItsEnd)
{
    RCPtr<LNotificationDistributor> held = LNotificationDistributor::Create();
    const auto client = MakeUnkeptClient('x');
    held->RegisterNotificationClient(client, "A", 0);
    client->onForce = [&held, &client](const auto& by, const char* id) {
        held = nullptr;
        return client->Leave(by, id);
    };

    EXPECT_EQ(held->ForceAllRegisteredClientsToUnregister(), kResultSuccess);
    EXPECT_EQ(journal, "!x");
}

TEST_F(ForceUnregister, RunsInsideADeliveryAndTheOtherWayRound)
{
    LetUnregister(2, {2, 1});
    clients[0]->onForce = [](const auto& by, const char*) {
        by->DeliverNotificationAllClients(Make());
        return kResultSuccess;
    };
    clients[3]->Refuse();
    clients[3]->onHandle = [first = true](const auto& by, const auto&) mutable {
        if (std::exchange(first, false)) {
            by->ForceAllRegisteredClientsToUnregister();
        }
    };

    distributor->DeliverNotificationAllClients(Make());

    // d asks all: itself, c (takes c and b away), a, which delivers to d and a; then a is served.
    EXPECT_EQ(journal, "d!d!c!adaa");
}

} // namespace
} // namespace NotificationTests
