// RecyclingTest.cpp - notifications that are parked and handed out again.

#include "NotificationFixture.h"

#include "Support/FailingHeap.h"
#include "Support/Threads.h"

#include <gtest/gtest.h>

#include <functional>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

namespace NotificationTests {
namespace {

class Recycling : public NotificationFixture
{
protected:
    void SetUp() override
    {
        NotificationFixture::SetUp();
        LNotification::SetNotificationReuseEnable(true);
    }

    /// Makes `count` notifications of that name at once and drops them in the order of their
    /// making.
    static std::vector<const LNotification*> Park(std::size_t count, const char* name = "A")
    {
        std::vector<RCPtr<LNotification>> made;
        std::vector<const LNotification*> parked;
        for (std::size_t index = 0; index < count; ++index) {
            made.push_back(LNotification::Create(name, MakePayload()));
            parked.push_back(made.back().Get());
        }
        for (RCPtr<LNotification>& notification : made) {
            notification = nullptr;
        }
        return parked;
    }
};

TEST_F(Recycling, IsOffAtFirst)
{
    LNotification::SetNotificationReuseEnable(false);
    const long before = TestSupport::CountLiveBlocks();

    RCPtr<LNotification> notification = Make();
    notification = nullptr;

    EXPECT_EQ(TestSupport::CountLiveBlocks(), before);
    EXPECT_EQ(LNotification::Create("", nullptr), nullptr);
}

TEST_F(Recycling, HandsOutTheSameObjectWithItsNewNameAndPayload)
{
    const auto parked = Park(1);
    EXPECT_EQ(Witness::GetLiveCount(), 0);
    LNotification::SetNotificationReuseEnable(true); // as it is
    const RCPtr<LRefCountedObject> payload = MakePayload();

    const RCPtr<LNotification> again = LNotification::Create("B", payload);

    EXPECT_EQ(again.Get(), parked[0]);
    EXPECT_STREQ(again->GetID(), "B");
    EXPECT_EQ(again->GetData(), payload);
    EXPECT_EQ(again->GetReferenceCount(), 1);
    EXPECT_FALSE(again->IsPosted());
}

TEST_F(Recycling, ParksOneAsOftenAsItIsDropped)
{
    LNotification::GetNotificationID("A");
    Park(1);

    for (int round = 0; round < 3; ++round) {
        SCOPED_TRACE(round);
        const TestSupport::LimitedHeap heap(sizeof(void*)); // the place among the parked
        RCPtr<LNotification> again = LNotification::Create("A", nullptr);

        EXPECT_EQ(again->GetReferenceCount(), 1);

        again = nullptr;
        EXPECT_FALSE(heap.HasRefused());
    }
}

TEST_F(Recycling, HandsOutTheLastParkedFirst)
{
    const auto parked = Park(3);

    const RCPtr<LNotification> first = Make();
    const RCPtr<LNotification> second = Make();
    const RCPtr<LNotification> third = Make();
    const RCPtr<LNotification> fresh = Make();

    EXPECT_EQ(first.Get(), parked[2]);
    EXPECT_EQ(second.Get(), parked[1]);
    EXPECT_EQ(third.Get(), parked[0]);
    EXPECT_EQ(std::count(parked.begin(), parked.end(), fresh.Get()), 0);
}

TEST_F(Recycling, KeepsTheNameOfAParkedNotificationThatIsAskedForWithoutOne)
{
    const auto parked = Park(2, "C");
    const RCPtr<LRefCountedObject> payload = MakePayload();

    const RCPtr<LNotification> first = LNotification::Create("", payload);
    const RCPtr<LNotification> second = LNotification::Create(nullptr, nullptr);
    const RCPtr<LNotification> third = LNotification::Create("", payload);

    EXPECT_EQ(first.Get(), parked[1]);
    EXPECT_STREQ(first->GetID(), "C");
    EXPECT_EQ(first->GetData(), payload);
    EXPECT_STREQ(second->GetID(), "C");
    EXPECT_EQ(third, nullptr);
}

TEST_F(Recycling, NeverTouchesWhatCreateInternalMakes)
{
    const auto parked = Park(1);

    const RCPtr<LNotification> fresh = LNotification::CreateInternal("A", nullptr);

    EXPECT_NE(fresh.Get(), parked[0]);
    EXPECT_EQ(LNotification::CreateInternal("", nullptr), nullptr);
}

TEST_F(Recycling, ReleasesAllParkedNotificationsWhenItIsSwitchedOff)
{
    const long before = TestSupport::CountLiveBlocks();
    static_cast<void>(Park(5000));
    EXPECT_EQ(TestSupport::CountLiveBlocks(), before + 5001); // with that of their places

    LNotification::SetNotificationReuseEnable(false);

    EXPECT_EQ(TestSupport::CountLiveBlocks(), before);
    EXPECT_EQ(LNotification::Create("", nullptr), nullptr);
}

TEST_F(Recycling, ReleasesTheFirstParkedFirstWhenItIsSwitchedOff)
{
    std::string order;
    std::vector<RCPtr<LNotification>> posted;
    for (const char name : {'a', 'b', 'c'}) {
        // A posted notification is parked with its payload, which then ends with it.
        posted.push_back(
            LNotification::Create("A", MakePayload([&order, name] { order += name; })));
        posted.back()->SetPosted(true);
    }
    for (RCPtr<LNotification>& notification : posted) {
        notification = nullptr;
    }

    LNotification::SetNotificationReuseEnable(false);

    EXPECT_EQ(order, "abc");
}

TEST_F(Recycling, StaysOnIfThePayloadOfAParkedNotificationSwitchesItOn)
{
    RCPtr<LNotification> made;
    std::vector<RCPtr<LNotification>> notifications;
    notifications.push_back(LNotification::Create("B", MakePayload([&made] {
                                                      LNotification::SetNotificationReuseEnable(
                                                          true);
                                                      made = Make("C");
                                                  })));
    for (int count = 0; count < 3; ++count) {
        notifications.push_back(Make());
    }
    const LNotification* const third = notifications[2].Get();
    const LNotification* const fourth = notifications[3].Get();
    // The first is parked with its payload, which ends with it. Those after it are released when
    // reuse is on again, and so are parked once more.
    notifications[0]->SetPosted(true);
    for (RCPtr<LNotification>& notification : notifications) {
        notification = nullptr;
    }

    LNotification::SetNotificationReuseEnable(false);

    ASSERT_NE(made, nullptr);
    EXPECT_STREQ(made->GetID(), "C");
    const RCPtr<LNotification> first = Make();
    const RCPtr<LNotification> second = Make();
    EXPECT_EQ(first.Get(), fourth);
    EXPECT_EQ(second.Get(), third);
}

TEST_F(Recycling, AsksForTwoBlocksAtMostWhenItIsSwitchedOff)
{
    static_cast<void>(Park(1000));
    const TestSupport::FailingHeap heap(0);

    LNotification::SetNotificationReuseEnable(false);

    EXPECT_LE(heap.CountRequests(), 2);
}

TEST_F(Recycling, IsSwitchedOffWithoutMemoryWhateverAPayloadDoesMeanwhile)
{
    RCPtr<LNotification> made;
    const struct
    {
        const char* what;
        std::function<void()> act;
        long left; ///< how many of three notifications are left, and the block of the parked one
    } rows[] = {
        {"nothing", [] {}, 0},
        {"it switches reuse off too", [] { LNotification::SetNotificationReuseEnable(false); }, 0},
        {"it switches reuse on and takes one",
         [&made] {
             LNotification::SetNotificationReuseEnable(true);
             made = Make("C");
         },
         3},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        const long before = TestSupport::CountLiveBlocks();
        LNotification::SetNotificationReuseEnable(true);
        RCPtr<LNotification> posted = LNotification::Create("B", MakePayload(row.act));
        RCPtr<LNotification> second = Make();
        RCPtr<LNotification> third = Make();
        // The first is parked with its payload, which ends with it.
        posted->SetPosted(true);
        posted = nullptr;
        second = nullptr;
        third = nullptr;

        {
            const TestSupport::FailingHeap heap(1);
            EXPECT_NO_THROW(LNotification::SetNotificationReuseEnable(false));
            EXPECT_TRUE(heap.HasRefused());
        }

        EXPECT_EQ(TestSupport::CountLiveBlocks(), before + row.left);
        made = nullptr;
        LNotification::SetNotificationReuseEnable(false);
        EXPECT_EQ(TestSupport::CountLiveBlocks(), before);
    }
}

TEST_F(Recycling, FreesOneThatWasParkedWhileItWasPosted)
{
    RCPtr<LNotification> posted = LNotification::Create("A", MakePayload());
    const LNotification* const object = posted.Get();
    posted->SetPosted(true);
    posted = nullptr;
    EXPECT_EQ(Witness::GetLiveCount(), 1) << "a posted notification keeps its payload";
    const RCPtr<LRefCountedObject> payload = MakePayload();

    const RCPtr<LNotification> again = LNotification::Create("B", payload);

    EXPECT_EQ(again.Get(), object);
    EXPECT_STREQ(again->GetID(), "B");
    EXPECT_EQ(again->GetData(), payload);
    EXPECT_FALSE(again->IsPosted());
    EXPECT_EQ(Witness::GetLiveCount(), 1);
}

TEST_F(Recycling, ReleasesAStalePayloadOutsideItsLock)
{
    RCPtr<LNotification> made;
    RCPtr<LNotification> posted = LNotification::Create(
        "A", MakePayload([&made] {
            // This thread could enter its own lock again; another one would wait for ever.
            TestSupport::RunOnThreads(1, [&made](std::size_t) { made = Make("C"); });
        }));
    posted->SetPosted(true);
    posted = nullptr;

    const RCPtr<LNotification> again = Make("B");

    ASSERT_NE(made, nullptr);
    EXPECT_STREQ(made->GetID(), "C");
}

TEST_F(Recycling, PutsTheObjectBackWhenItsNewNameCannotBeEntered)
{
    const auto parked = Park(1);
    bool hasThrown = false;
    int call = 1;
    for (; call < 100 && (call == 1 || hasThrown); ++call) {
        SCOPED_TRACE(call);
        hasThrown = false;
        const std::string name = "unknown." + std::to_string(call);
        RCPtr<LNotification> again; // parked when there is memory again
        const TestSupport::FailingHeap failing(call);
        try {
            again = LNotification::Create(name.c_str(), nullptr);
            EXPECT_EQ(again.Get(), parked[0]);
        } catch (const std::bad_alloc&) {
            hasThrown = true;
        }
    }
    EXPECT_GT(call, 2) << "at least one call had to fail";

    const RCPtr<LNotification> again = LNotification::Create("", nullptr);
    EXPECT_EQ(again.Get(), parked[0]);
    const RCPtr<LNotification> none = LNotification::Create("", nullptr);
    EXPECT_EQ(none, nullptr);
    // The lock is free: another thread gets in.
    TestSupport::RunOnThreads(1, [](std::size_t) { EXPECT_NE(Make(), nullptr); });
}

TEST_F(Recycling, DoesNotParkWhatMustNotBeShared)
{
    RCPtr<LNotification> notification = Make();
    notification->SetUnshareable(true);

    {
        const RCPtr<LNotification> dropped = std::move(notification);
    }

    EXPECT_EQ(LNotification::Create("", nullptr), nullptr);
}

TEST_F(Recycling, LosesNoObjectBetweenThreads)
{
    constexpr std::size_t kThreads = 4;
    constexpr int kRounds = 2000;
    const long before = TestSupport::CountLiveBlocks();

    TestSupport::RunOnThreads(kThreads, [](std::size_t) {
        for (int round = 0; round < kRounds; ++round) {
            RCPtr<LNotification> first = Make("A");
            const RCPtr<LNotification> second = Make("B");
            ASSERT_STREQ(first->GetID(), "A");
            first = nullptr;
        }
    });

    const long parked = TestSupport::CountLiveBlocks() - before;
    EXPECT_GE(parked, 0);
    EXPECT_LE(parked, static_cast<long>(2 * kThreads + 1));
    LNotification::SetNotificationReuseEnable(false);
    EXPECT_EQ(TestSupport::CountLiveBlocks(), before);
}

} // namespace
} // namespace NotificationTests
