// DistributorSweepTest.cpp - every operation of distributors, pools and function clients with each
// of its requests for memory refused: it throws, and nothing is registered or lost.

#include "NotificationFixture.h"

#include "Support/FailureSweep.h"

#include <QX/FunctionReceiver.h>

#include <string>

namespace NotificationTests {
namespace {

using QX::LFunctionReceiver;
using TestSupport::SweepRefusals;
using TestSupport::SweptOperation;

using Pool = LNotificationDistributor::LNotificationClientPool;
using Info = LNotificationDistributor::LNotificationRegisteredClientInfo;

/// A distributor, the clients 'a' and 'o', and what operations make.
struct Registrations
{
    std::string journal; // a few letters, which need no memory
    RCPtr<LNotificationDistributor> distributor = LNotificationDistributor::Create();
    RCPtr<LTestClient> client = RCPtr<LTestClient>(new LTestClient('a', journal));
    RCPtr<LTestClient> other = RCPtr<LTestClient>(new LTestClient('o', journal));
    RCPtr<LNotification> message = LNotification::Create("A", nullptr);
    RCPtr<LNotification> second = LNotification::Create("B", nullptr);
    RCPtr<Pool> pool = Pool::Create(message->GetID());
    RCPtr<LRefCountedObject> made;
    int handled = 0;

    Registrations() = default;
    ~Registrations()
    {
        client->onHandle = nullptr;
        distributor->UnregisterNotificationClient(client);
        distributor->UnregisterNotificationClient(other);
    }
    Registrations(const Registrations&) = delete;
    Registrations& operator=(const Registrations&) = delete;

    int32 Register(const RCPtr<LTestClient>& registered, const char* name, uint32 flags = 0)
    {
        return distributor->RegisterNotificationClient(registered, name, flags);
    }
    void RegisterAll()
    {
        Register(client, "A");
        Register(other, "A");
        Register(client, "B");
        pool->AddClient(client, 0);
        pool->AddClient(other, 0);
    }
    bool Leave(const char* name)
    {
        return distributor->UnregisterNotificationClient(client, name) == 0;
    }
    bool Force() { return distributor->ForceAllRegisteredClientsToUnregister() == 0; }
    bool Deliver() { return distributor->DeliverNotificationAllClients(message) == 0; }

    /// "n/k of the distributor, distributors listed, who gets A, who gets B, size of the pool".
    std::string Describe()
    {
        journal.clear();
        std::string seen = CountsOf(*distributor) + " listed " +
                           std::to_string(LNotificationDistributor::GetDistributors().GetCount()) +
                           " A:";
        const auto handler = std::move(client->onHandle);
        client->onHandle = nullptr;
        distributor->DeliverNotificationAllClients(message);
        seen += journal + " B:";
        journal.clear();
        distributor->DeliverNotificationAllClients(second);
        seen += journal + " pool " + std::to_string(pool->GetClientCount());
        client->onHandle = handler;
        journal.clear();
        if (made != nullptr) {
            seen += " > x" + std::to_string(made->GetReferenceCount());
        }
        return handled == 0 ? seen : seen + " handled " + std::to_string(handled);
    }
};

using Operation = SweptOperation<Registrations>;

TEST(DistributorSweep, ARegistrationThatFindsNoMemoryIsNotMade)
{
    const Operation operations[] = {
        {.what = "the first of the distributor",
         .run = [](Registrations& state) { return state.Register(state.client, "A") == 0; },
         .done = "3/2 listed 1 A:a B: pool 0",
         .thrown = "1/0 listed 0 A: B: pool 0",
         .least = 5},
        {.what = "the first of a name",
         .prepare = [](Registrations& state) { state.Register(state.other, "B"); },
         .run = [](Registrations& state) { return state.Register(state.client, "A") == 0; },
         .done = "4/3 listed 1 A:a B:o pool 0",
         .thrown = "3/2 listed 1 A: B:o pool 0",
         .least = 4},
        {.what = "the second of a name",
         .prepare = [](Registrations& state) { state.Register(state.other, "A"); },
         .run = [](Registrations& state) { return state.Register(state.client, "A") == 0; },
         .done = "4/3 listed 1 A:ao B: pool 0",
         .thrown = "3/2 listed 1 A:o B: pool 0",
         .least = 2},
        {.what = "of a latest-only client",
         .run = [](Registrations& state) { return state.Register(state.client, "A", 1) == 0; },
         .done = "3/2 listed 1 A: B: pool 0",
         .thrown = "1/0 listed 0 A: B: pool 0",
         .least = 5},
        {.what = "of other flags",
         .prepare = [](Registrations& state) { state.Register(state.client, "A", 1); },
         .run = [](Registrations& state) { return state.Register(state.client, "A", 2) == 1; },
         .done = "3/2 listed 1 A:a B: pool 0"},
        {.what = "in a pool",
         .run = [](Registrations& state) { return state.pool->AddClient(state.client, 0) == 0; },
         .done = "1/0 listed 0 A: B: pool 1",
         .thrown = "1/0 listed 0 A: B: pool 0",
         .least = 2},
    };

    SweepRefusals<Registrations>(operations);
}

TEST(DistributorSweep, WhatTakesARegistrationBackNeedsNoMemory)
{
    const Operation operations[] = {
        {.what = "from a name",
         .prepare = [](Registrations& state) { state.RegisterAll(); },
         .run = [](Registrations& state) { return state.Leave("A"); },
         .done = "4/3 listed 1 A:o B:a pool 2",
         .least = 1},
        {.what = "from all names",
         .prepare = [](Registrations& state) { state.RegisterAll(); },
         .run =
             [](Registrations& state) {
                 return state.distributor->UnregisterNotificationClient(state.client) == 2;
             },
         .done = "3/2 listed 1 A:o B: pool 2",
         .least = 1},
        {.what = "the last one",
         .prepare = [](Registrations& state) { state.Register(state.client, "A"); },
         .run =
             [](Registrations& state) {
                 return state.distributor->UnregisterNotificationClient(state.client) == 1;
             },
         .done = "1/0 listed 0 A: B: pool 0"},
        {.what = "by force",
         .prepare = [](Registrations& state) { state.RegisterAll(); },
         .run = [](Registrations& state) { return state.Force(); },
         .done = "1/0 listed 0 A: B: pool 2",
         .least = 1},
        {.what = "from a pool",
         .prepare = [](Registrations& state) { state.RegisterAll(); },
         .run = [](Registrations& state) { return state.pool->RemoveClient(state.client) == 0; },
         .done = "5/4 listed 1 A:oa B:a pool 1",
         .least = 1},
        {.what = "questions",
         .prepare = [](Registrations& state) { state.RegisterAll(); },
         .run =
             [](Registrations& state) {
                 uint32 flags = 9;
                 return state.distributor->GetDeliveryFlags(state.client, "A", flags) == 0 &&
                        flags == 0 && state.distributor->IsClientRegistered(state.other) &&
                        state.distributor->GetNotificationClientPool(state.message->GetID()) !=
                            nullptr;
             },
         .done = "5/4 listed 1 A:oa B:a pool 2"},
    };

    SweepRefusals<Registrations>(operations);
}

TEST(DistributorSweep, AClientThatFindsNoMemoryEndsTheDeliveryAndTheNextOneIsWhole)
{
    const Operation operations[] = {
        {.what = "to all clients",
         .prepare =
             [](Registrations& state) {
                 state.Register(state.client, "A");
                 state.Register(state.other, "A");
             },
         .run = [](Registrations& state) { return state.Deliver(); },
         .done = "4/3 listed 1 A:oa B: pool 0"},
        {.what = "to one that registers another",
         .prepare =
             [](Registrations& state) {
                 state.Register(state.client, "A");
                 state.client->onHandle = [&state](const auto&, const auto&) {
                     state.Register(state.other, "B");
                     ++state.handled;
                 };
             },
         .run = [](Registrations& state) { return state.Deliver(); },
         .done = "4/3 listed 1 A:a B:o pool 0 handled 1",
         .thrown = "3/2 listed 1 A:a B: pool 0",
         .least = 4},
        {.what = "to one client of a pool",
         .prepare =
             [](Registrations& state) {
                 state.pool->AddClient(state.client, 0);
                 state.client->onHandle = [&state](const auto&, const auto&) {
                     state.pool->AddClient(state.other, 0);
                     ++state.handled;
                 };
             },
         .run =
             [](Registrations& state) {
                 return state.pool->DeliverNotification(*state.distributor, 0, state.message) == 0;
             },
         .done = "1/0 listed 0 A: B: pool 2 handled 1",
         .thrown = "1/0 listed 0 A: B: pool 1",
         .least = 2},
    };

    SweepRefusals<Registrations>(operations);
}

TEST(DistributorSweep, AFunctionClientThatFindsNoMemoryIsNotMade)
{
    const Operation operations[] = {
        {.what = "Create of a large function",
         .run =
             [](Registrations& state) {
                 struct
                 {
                     char bytes[100];
                 } const large{};
                 state.made = LFunctionReceiver::Create(
                     [large](const auto&, const auto&) { static_cast<void>(large.bytes[0]); });
             },
         .done = "1/0 listed 0 A: B: pool 0 > x1",
         .thrown = "1/0 listed 0 A: B: pool 0",
         .least = 2},
        {.what = "being asked to unregister",
         .prepare =
             [](Registrations& state) {
                 const auto client = LFunctionReceiver::Create(nullptr);
                 state.distributor->RegisterNotificationClient(client, "A", 0);
             },
         .run = [](Registrations& state) { return state.Force(); },
         .done = "1/0 listed 0 A: B: pool 0"},
    };

    SweepRefusals<Registrations>(operations);
}

} // namespace
} // namespace NotificationTests
