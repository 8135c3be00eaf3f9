// ReentrancyTest.cpp - every operation from inside every callback.
//
// For each pair a center with three clients is delivered to, asked, shut down or dropped while one
// callback runs one operation. The counts are right afterwards, and all objects end.

#include "NotificationFixture.h"

#include "Support/Threads.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace NotificationTests {
namespace {

class Reentrancy : public NotificationFixture
{
protected:
    struct Scene
    {
        RCPtr<LNotificationCenter> held;
        LNotificationCenter* center = nullptr;
        std::vector<RCPtr<LTestClient>> clients;
        RCPtr<LTestClient> late;
        bool hasActed = false;
    };
    struct Operation
    {
        const char* what;
        std::function<void(Scene&)> run;
    };
    struct Callback
    {
        const char* what;
        /// Arranges that `act` runs inside the callback, and makes the callback happen.
        std::function<void(Scene&, const std::function<void()>& act)> provoke;
    };

    void SetUp() override
    {
        // Made before the ledger begins; they live as long as the program.
        Operations();
        Callbacks();
        NotificationFixture::SetUp();
    }

    static const std::vector<Operation>& Operations();
    static const std::vector<Callback>& Callbacks();

    void Build(Scene& scene)
    {
        scene.held = LNotificationCenter::Create("center");
        scene.center = scene.held.Get();
        for (const char name : {'a', 'b', 'c'}) {
            scene.clients.push_back(MakeUnkeptClient(name));
            scene.center->RegisterNotificationClient(scene.clients.back(), "A",
                                                     name == 'a' ? kLatest : 0);
            scene.center->RegisterNotificationClient(scene.clients.back(), QX::NID_IDLE, 0);
        }
        scene.late = MakeUnkeptClient('l');
    }

    /// Checks the counts of a center that still has its holder, and ends it.
    static void End(Scene& scene)
    {
        for (const auto& client : scene.clients) {
            client->onHandle = nullptr;
            client->onForce = nullptr;
        }
        if (scene.held) {
            const int32 outside =
                scene.held->GetReferenceCount() - scene.held->GetContainedReferenceCount();
            EXPECT_EQ(outside, 1);
            EXPECT_GE(scene.held->GetContainedReferenceCount(), 0);
        }
        scene.held = nullptr;
        // A client that came while the center was dismantled was not asked and keeps it alive.
        auto& list = LNotificationDistributor::GetDistributors();
        if (list.GetCount() != 0) {
            const RCPtr<LNotificationDistributor> left(list.GetPtr()[0]);
            left->UnregisterNotificationClient(scene.late);
        }
    }
};

const std::vector<Reentrancy::Operation>& Reentrancy::Operations()
{
    static const std::vector<Operation> sOperations = {
        {"posts", [](Scene& scene) { scene.center->PostForBroadcast(Make()); }},
        {"lets another thread post",
         [](Scene& scene) {
             // Would wait for ever if the callback ran under a lock.
             TestSupport::RunOnThreads(
                 1, [&scene](std::size_t) { scene.center->PostForBroadcast(Make()); });
         }},
        {"registers another",
         [](Scene& scene) { scene.center->RegisterNotificationClient(scene.late, "A", 0); }},
        {"registers for a new pool",
         [](Scene& scene) { scene.center->RegisterNotificationClient(scene.late, "D", 0); }},
        {"changes flags",
         [](Scene& scene) { scene.center->RegisterNotificationClient(scene.clients[0], "A", 2); }},
        {"unregisters the first",
         [](Scene& scene) { scene.center->UnregisterNotificationClient(scene.clients[0]); }},
        {"unregisters the middle",
         [](Scene& scene) { scene.center->UnregisterNotificationClient(scene.clients[1]); }},
        {"unregisters the last",
         [](Scene& scene) { scene.center->UnregisterNotificationClient(scene.clients[2]); }},
        {"unregisters all",
         [](Scene& scene) {
             for (const auto& client : scene.clients) {
                 scene.center->UnregisterNotificationClient(client);
             }
         }},
        {"flushes", [](Scene& scene) { scene.center->FlushPendingNotifications(); }},
        {"shuts down twice",
         [](Scene& scene) {
             scene.center->ReleaseDistributor();
             scene.center->ReleaseDistributor();
         }},
        {"delivers", [](Scene& scene) { scene.center->DeliverPendingNotifications(true); }},
        {"delivers directly",
         [](Scene& scene) { scene.center->DeliverNotificationAllClients(Make()); }},
        {"asks all", [](Scene& scene) { scene.center->ForceAllRegisteredClientsToUnregister(); }},
        {"dismantles", [](Scene& scene) { scene.center->RemoveContainedReferences(); }},
        {"lets go",
         [](Scene& scene) {
             // What the operation works on stays until the operation has ended.
             const RCPtr<LNotificationCenter> taken = std::move(scene.held);
         }},
        {"lets go of the clients", [](Scene& scene) { scene.clients.clear(); }},
        {"lets go of everything",
         [](Scene& scene) {
             scene.clients.clear();
             const RCPtr<LNotificationCenter> taken = std::move(scene.held);
         }},
    };
    return sOperations;
}

const std::vector<Reentrancy::Callback>& Reentrancy::Callbacks()
{
    using Act = std::function<void()>;
    const auto inHandle = [](std::size_t index) {
        return [index](Scene& scene, const Act& act) {
            scene.clients[index]->onHandle = [act](const auto&, const auto&) { act(); };
            scene.center->PostForBroadcast(Make());
            scene.center->PostForBroadcast(Make("B"));
            scene.center->PostForBroadcast(Make());
            scene.center->DeliverPendingNotifications(true);
        };
    };
    const auto inForce = [](std::size_t index) {
        return [index](Scene& scene, const Act& act) {
            LTestClient& client = *scene.clients[index];
            client.onForce = [act, &client](const auto& by, const char* id) {
                act();
                return client.Leave(by, id);
            };
            scene.center->ForceAllRegisteredClientsToUnregister();
        };
    };
    static const std::vector<Callback> sCallbacks = {
        {"the first client served", inHandle(2)},
        {"the middle client served", inHandle(1)},
        {"the last client served", inHandle(0)},
        {"the first client asked", inForce(2)},
        {"the last client asked", inForce(0)},
        {"a client asked by the dismantling",
         [](Scene& scene, const Act& act) {
             LTestClient& client = *scene.clients[1];
             client.onForce = [act, &client](const auto& by, const char* id) {
                 act();
                 return client.Leave(by, id);
             };
             const RCPtr<LNotificationCenter> last = std::move(scene.held);
         }},
        {"the end of a client",
         [](Scene& scene, const Act& act) {
             RCPtr<LTestClient> dying = scene.clients[1];
             scene.clients[1] = scene.clients[0];
             LTestClient& object = *dying;
             object.onDestruction = act;
             dying = nullptr;
             scene.center->UnregisterNotificationClient(RCPtr<LNotificationClient>(&object));
         }},
        {"the end of a flushed payload",
         [](Scene& scene, const Act& act) {
             scene.center->PostForBroadcast(LNotification::Create("B", MakePayload(act)));
             scene.center->PostForBroadcast(Make());
             scene.center->FlushPendingNotifications();
         }},
        {"the end of a delivered payload",
         [](Scene& scene, const Act& act) {
             scene.center->PostForBroadcast(LNotification::Create("B", MakePayload(act)));
             scene.center->PostForBroadcast(Make());
             scene.center->DeliverPendingNotifications(true);
         }},
        {"the end of a payload at the shutdown",
         [](Scene& scene, const Act& act) {
             scene.center->PostForBroadcast(LNotification::Create("B", MakePayload(act)));
             scene.center->ReleaseDistributor();
         }},
        {"the end of a latest notification",
         [](Scene& scene, const Act& act) {
             scene.center->PostForBroadcast(LNotification::Create("A", MakePayload(act)));
             scene.center->FlushPendingNotifications();
             scene.center->PostForBroadcast(Make());
         }},
    };
    return sCallbacks;
}

TEST_F(Reentrancy, LeavesEveryCountRightAndNoObject)
{
    for (const bool isReuseEnabled : {false, true}) {
        for (const Callback& callback : Callbacks()) {
            for (const Operation& operation : Operations()) {
                SCOPED_TRACE(testing::Message() << callback.what << " " << operation.what);
                LNotification::SetNotificationReuseEnable(isReuseEnabled);
                Scene scene;
                Build(scene);
                callback.provoke(scene, [&scene, &operation] {
                    if (!std::exchange(scene.hasActed, true)) {
                        operation.run(scene);
                    }
                });

                EXPECT_TRUE(scene.hasActed);
                End(scene);
                scene.clients.clear();
                scene.late = nullptr;
                LNotification::SetNotificationReuseEnable(false);
                ASSERT_EQ(LTestClient::sLiveCount, 0);
                ASSERT_EQ(Witness::GetLiveCount(), 0);
                ASSERT_EQ(LNotificationDistributor::GetDistributors().GetCount(), 0u);
                TakeJournal();
            }
        }
    }
}

} // namespace
} // namespace NotificationTests
