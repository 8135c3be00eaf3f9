// NotificationTest.cpp - making and changing notifications.

#include "NotificationFixture.h"

#include <gtest/gtest.h>

#include <type_traits>

namespace NotificationTests {
namespace {

// An automatic notification would be parked like any other, and its address handed out.
static_assert(!std::is_default_constructible_v<LNotification>);
static_assert(!std::is_destructible_v<LNotification>);
static_assert(!std::is_copy_constructible_v<LNotification>);

class Notification : public NotificationFixture
{};

TEST_F(Notification, HasTheNameAndPayloadThatItWasMadeWith)
{
    const RCPtr<LRefCountedObject> payload = MakePayload();

    const RCPtr<LNotification> notification = LNotification::Create("A", payload);

    EXPECT_EQ(notification->GetID(), LNotification::GetNotificationID("A"));
    EXPECT_EQ(notification->GetData(), payload);
    EXPECT_FALSE(notification->IsPosted());
    EXPECT_EQ(notification->GetReferenceCount(), 1);
    EXPECT_EQ(payload->GetReferenceCount(), 2);
}

TEST_F(Notification, IsNotMadeWithoutAName)
{
    EXPECT_EQ(LNotification::Create("", nullptr), nullptr);
    EXPECT_EQ(LNotification::Create(nullptr, nullptr), nullptr);
    EXPECT_EQ(LNotification::CreateInternal("", nullptr), nullptr);
    EXPECT_EQ(LNotification::CreateInternal(nullptr, nullptr), nullptr);
}

TEST_F(Notification, ReturnsHowManyHoldersAreLeft)
{
    const RCPtr<LNotification> notification = LNotification::Create("A", nullptr);

    EXPECT_EQ(notification->AddReference(), 2);
    EXPECT_EQ(notification->AddReference(), 3);
    EXPECT_EQ(notification->RemoveReference(), 2);
    EXPECT_EQ(notification->RemoveReference(), 1);
}

TEST_F(Notification, TakesAnotherNameAndPayload)
{
    const RCPtr<LNotification> notification = LNotification::Create("A", MakePayload());

    EXPECT_EQ(notification->SetName("B"), kResultSuccess);
    EXPECT_EQ(notification->SetName(""), kResultOutOfRange);
    EXPECT_EQ(notification->SetName(nullptr), kResultOutOfRange);
    EXPECT_EQ(notification->SetData(nullptr), kResultSuccess);

    EXPECT_STREQ(notification->GetID(), "B");
    EXPECT_EQ(notification->GetData(), nullptr);
    EXPECT_EQ(Witness::GetLiveCount(), 0);
}

TEST_F(Notification, RefusesChangesWhileItIsPosted)
{
    const RCPtr<LRefCountedObject> payload = MakePayload();
    const RCPtr<LNotification> notification = LNotification::Create("A", payload);
    notification->SetPosted(true);

    EXPECT_EQ(notification->SetName("B"), kResultFailure);
    EXPECT_EQ(notification->SetName(""), kResultFailure);
    EXPECT_EQ(notification->SetData(nullptr), kResultFailure);

    EXPECT_STREQ(notification->GetID(), "A");
    EXPECT_EQ(notification->GetData(), payload);

    notification->SetPosted(false);
    EXPECT_EQ(notification->SetName("B"), kResultSuccess);
    EXPECT_EQ(notification->SetData(nullptr), kResultSuccess);
}

TEST_F(Notification, IsMarkedAsPostedOnceWhetherItHasOneHolderOrSeveral)
{
    for (const int32 holders : {1, 2}) {
        SCOPED_TRACE(holders);
        const RCPtr<LNotification> notification = Make();
        const RCPtr<LNotification> other = holders == 2 ? notification : nullptr;

        EXPECT_TRUE(notification->TryMarkPosted());
        EXPECT_FALSE(notification->TryMarkPosted());
        EXPECT_TRUE(notification->IsPosted());
        EXPECT_EQ(notification->GetReferenceCount(), holders);
    }
}

} // namespace
} // namespace NotificationTests
