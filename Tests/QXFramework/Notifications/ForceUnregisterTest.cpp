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

    LNotificationDistributor* distributor = nullptr;
    std::vector<RCPtr<LTestClient>> clients;
};

TEST_F(ForceUnregister, AsksEachClientOnceFromTheLast)
{
    EXPECT_EQ(distributor->ForceAllRegisteredClientsToUnregister(), kResultSuccess);

    EXPECT_EQ(journal, "!d!c!b!a");
    EXPECT_EQ(CountsOf(*distributor), "1/0");
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

TEST_F(ForceUnregister, AsksOnceEachClientThatIsStillThereAndNoneThatComes)
{
    struct Row
    {
        const char* what;
        std::size_t asked;
        std::vector<std::size_t> leaving;
        bool comesBack;
        const char* journal;
        const char* left; ///< n/k of the distributor; those that are asked and do nothing stay
    };
    const Row rows[] = {
        {"the first asked removes itself and the last", 3, {3, 0}, false, "!d!c!b", "4/3"},
        {"it removes the last only", 3, {0}, false, "!d!c!b", "5/4"},
        {"it removes all", 3, {0, 1, 2, 3}, false, "!d", "1/0"},
        {"one in the middle leaves and comes back", 1, {1}, true, "!d!c!b!a", "6/5"},
    };

    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        for (const auto& client : clients) {
            distributor->RegisterNotificationClient(client, "A", 0);
            client->Refuse();
        }
        clients[row.asked]->onForce = [this, &row](const auto& by, const char* id) {
            for (const std::size_t who : row.leaving) {
                by->UnregisterNotificationClient(clients[who], id);
            }
            return row.comesBack ? by->RegisterNotificationClient(clients[row.asked], id, 0) : 0;
        };

        distributor->ForceAllRegisteredClientsToUnregister();

        EXPECT_EQ(TakeJournal(), row.journal);
        EXPECT_EQ(CountsOf(*distributor), row.left);
        for (const auto& client : clients) {
            distributor->UnregisterNotificationClient(client);
        }
    }
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
    clients[2]->onForce = [this](const auto& by, const char* id) {
        by->UnregisterNotificationClient(clients[2], id);
        return by->UnregisterNotificationClient(clients[1], id);
    };
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
