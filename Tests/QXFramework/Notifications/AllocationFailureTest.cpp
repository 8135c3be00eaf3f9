// AllocationFailureTest.cpp - every allocation of construction and registration refused in turn.
//
// The program wraps the process heap, so that both operator new and the framework's buffers meet
// the refusal.

#include "NotificationFixture.h"

#include "Support/FailingHeap.h"

#include <QX/FunctionReceiver.h>

#include <gtest/gtest.h>

#include <functional>
#include <new>
#include <string>

namespace NotificationTests {
namespace {

using TestSupport::FailingHeap;

// More than any operation here asks for.
constexpr int kCalls = 40;

class AllocationFailure : public NotificationFixture
{
protected:
    /// Runs `operation` with each of its allocations refused in turn, `check` after each run that
    /// threw, and `undo` after each that did not. Returns how many runs threw.
    template <class Operation, class Check, class Undo>
    static int RefuseEach(const Operation& operation, const Check& check, const Undo& undo)
    {
        int thrown = 0;
        for (sCall = 1; sCall <= kCalls; ++sCall) {
            bool hasThrown = false;
            {
                const FailingHeap failing(sCall);
                try {
                    operation();
                } catch (const std::bad_alloc&) {
                    hasThrown = true;
                }
            }
            if (hasThrown) {
                ++thrown;
                check();
            } else {
                undo();
            }
        }
        return thrown;
    }

    /// The allocation that is refused. A trace would need memory itself.
    inline static int sCall = 0;
};

TEST_F(AllocationFailure, InAConstructionLeavesNothingBehind)
{
    struct Row
    {
        const char* what;
        std::function<RCPtr<LRefCountedObject>()> make;
        int atLeast;
    };
    const QX::StringT<char, unsigned short> name("center");
    const Row rows[] = {
        {"a distributor", [] { return LNotificationDistributor::Create(); }, 1},
        {"a queue", [] { return LNotificationQueue::Create(); }, 4},
        {"a center", [&name] { return LNotificationCenter::Create(name); }, 4},
        {"a manager", [] { return LNotificationCenterManager::Create(); }, 1},
        {"a notification", [] { return LNotification::Create("A", nullptr); }, 1},
        {"a function client", [] { return QX::LFunctionReceiver::Create(nullptr); }, 1},
    };

    for (const bool isReuseEnabled : {false, true}) {
        for (const Row& row : rows) {
            SCOPED_TRACE(row.what);
            RCPtr<LRefCountedObject> made;
            const long before = TestSupport::CountLiveBlocks();

            const int thrown = RefuseEach(
                [&] {
                    LNotification::SetNotificationReuseEnable(isReuseEnabled);
                    made = row.make();
                },
                [&] {
                    EXPECT_EQ(made, nullptr);
                    LNotification::SetNotificationReuseEnable(false);
                    EXPECT_EQ(TestSupport::CountLiveBlocks(), before) << sCall;
                },
                [&] {
                    if (auto* const queue = dynamic_cast<LNotificationQueue*>(made.Get())) {
                        queue->ReleaseDistributor();
                    }
                    made = nullptr;
                    LNotification::SetNotificationReuseEnable(false);
                    EXPECT_EQ(TestSupport::CountLiveBlocks(), before);
                });

            EXPECT_GE(thrown, row.atLeast);
        }
    }
}

// The queue is built by the time that the derived class refuses to be.
class LThrowsAtItsEnd : public LNotificationCenter
{
public:
    LThrowsAtItsEnd()
        : LNotificationCenter("center")
    {
        throw 1;
    }
};

TEST_F(AllocationFailure, InADerivedConstructorDestroysTheQueueOnce)
{
    const long before = TestSupport::CountLiveBlocks();

    EXPECT_THROW(new LThrowsAtItsEnd, int);

    EXPECT_EQ(TestSupport::CountLiveBlocks(), before);
}

TEST_F(AllocationFailure, InARegistrationRegistersNothing)
{
    struct Row
    {
        const char* what;
        bool hasOther;
        bool hasPool;
        const char* counts;
        const char* after;
    };
    const Row rows[] = {
        {"the first of the distributor", false, false, "1/0", "3/2"},
        {"the first of a pool", true, false, "3/2", "4/3"},
        {"the second of a pool", true, true, "3/2", "4/3"},
    };

    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        auto& distributor = KeepDistributor();
        const auto client = MakeClient('a');
        const auto other = MakeClient('o');
        if (row.hasOther) {
            distributor.RegisterNotificationClient(other, row.hasPool ? "A" : "B", 0);
        }
        const uint32 listed = LNotificationDistributor::GetDistributors().GetCount();
        int successes = 0;

        const int thrown = RefuseEach(
            [&] { distributor.RegisterNotificationClient(client, "A", 0); },
            [&] {
                EXPECT_EQ(CountsOf(distributor), row.counts);
                EXPECT_EQ(LNotificationDistributor::GetDistributors().GetCount(), listed);
                EXPECT_FALSE(distributor.IsClientRegistered(client));
            },
            [&] {
                EXPECT_EQ(CountsOf(distributor), row.after);
                EXPECT_EQ(distributor.DeliverNotificationAllClients(Make()), kResultSuccess);
                EXPECT_EQ(TakeJournal(), row.hasPool ? "ao" : "a");
                EXPECT_EQ(distributor.UnregisterNotificationClient(client, "A"), kResultSuccess);
                EXPECT_EQ(CountsOf(distributor), row.counts);
                ++successes;
            });

        EXPECT_GE(thrown, 1);
        EXPECT_GE(successes, 1);
        distributor.UnregisterNotificationClient(other);
    }
}

TEST_F(AllocationFailure, InAPostLeavesTheNotificationUnposted)
{
    auto& center = KeepCenter();
    std::vector<RCPtr<LNotification>> posted;
    for (int count = 0; count < 255; ++count) {
        posted.push_back(Make());
        center.PostForBroadcast(posted.back());
    }
    const RCPtr<LNotification> one = Make();

    const int thrown = RefuseEach([&] { center.PostForBroadcast(one); },
                                  [&] {
                                      EXPECT_FALSE(one->IsPosted());
                                      EXPECT_EQ(one->GetReferenceCount(), 1);
                                  },
                                  [] {});

    EXPECT_GE(thrown, 1);
    EXPECT_TRUE(one->IsPosted());
    EXPECT_FALSE(center.FlushPendingNotifications());
    EXPECT_FALSE(one->IsPosted());
}

TEST_F(AllocationFailure, InTheNameTableEntersNothing)
{
    // So many that everything that grows with them does so, and so long that each needs memory.
    for (int number = 0; number < 300; ++number) {
        const std::string name = std::string(20000, 'r') + std::to_string(number);
        const uint32 before = LNotification::GetNotificationIDs().GetCount();
        const long blocks = TestSupport::CountLiveBlocks();
        const char* id = nullptr;

        const int thrown =
            RefuseEach([&] { id = LNotification::GetNotificationID(name.c_str()); },
                       [&] {
                           ASSERT_EQ(LNotification::GetNotificationIDs().GetCount(), before);
                           // What finds the names may have grown already: an object and a block.
                           ASSERT_LE(TestSupport::CountLiveBlocks(), blocks + 2);
                       },
                       [] {});

        ASSERT_GE(thrown, 2);
        ASSERT_EQ(id, name);
        ASSERT_EQ(LNotification::GetNotificationIDs().GetCount(), before + 1);
    }
}

TEST_F(AllocationFailure, InParkingDestroysTheNotification)
{
    LNotification::SetNotificationReuseEnable(true);
    const long before = TestSupport::CountLiveBlocks();
    RCPtr<LNotification> notification = LNotification::Create("A", MakePayload());
    {
        const FailingHeap failing(1);
        // A destructor swallows what an assignment would throw.
        const RCPtr<LNotification> dropped = std::move(notification);
    }

    EXPECT_EQ(LPayload::sLiveCount, 0);
    EXPECT_EQ(TestSupport::CountLiveBlocks(), before);
    EXPECT_EQ(LNotification::Create("", nullptr), nullptr);
}

TEST_F(AllocationFailure, InTheManagerMakesNoCenter)
{
    const RCPtr<LNotificationCenterManager> manager = LNotificationCenterManager::Create();
    int made = 0;

    const int thrown =
        RefuseEach([&] { manager->GetOrCreateNotificationCenter("application"); },
                   [&] { EXPECT_EQ(manager->GetNotificationCenter("application"), nullptr); },
                   [&] { ++made; });

    EXPECT_GE(thrown, 5);
    EXPECT_GE(made, 1);
    EXPECT_EQ(CountsOf(*manager->GetNotificationCenter("application")), "3/2");
}

} // namespace
} // namespace NotificationTests
