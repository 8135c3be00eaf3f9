// ClientSlotsTest.cpp - what a client compiled elsewhere relies on.

#include "NotificationFixture.h"

#include "Support/VirtualSlots.h"

#include <QX/QX.h>

#include <gtest/gtest.h>

#include <type_traits>

namespace NotificationTests {
namespace {

using TestSupport::SlotOf;
using Pool = LNotificationDistributor::LNotificationClientPool;
using Info = LNotificationDistributor::LNotificationRegisteredClientInfo;

// A virtual base can be left by a dynamic cast only.
template <class T>
concept StaticallyReachable = requires(LRefCountedObject* object)
{
    static_cast<T*>(object);
};
static_assert(!StaticallyReachable<LNotification>);
static_assert(!StaticallyReachable<LNotificationClient>);
static_assert(!StaticallyReachable<LNotificationDistributor>);
static_assert(!StaticallyReachable<LNotificationQueue>);
static_assert(!StaticallyReachable<LNotificationCenter>);
static_assert(!StaticallyReachable<LNotificationCenterManager>);
static_assert(!StaticallyReachable<LNotificationQueue::LPostingReceiver>);
static_assert(!StaticallyReachable<Pool>);
static_assert(!StaticallyReachable<Info>);

// Pools and records are made by Create alone.
template <class T>
concept Copyable = requires(const T& object)
{
    new T(object);
};
static_assert(!Copyable<Pool> && !Copyable<Info>);

static_assert(std::is_abstract_v<LNotificationClient>);
static_assert(std::is_abstract_v<QX::LNotificationReceiver>);
static_assert(std::is_base_of_v<LNotificationClient, QX::LNotificationReceiver>);

struct LLonger : QX::LNotificationReceiver
{
    virtual void Appended() = 0;
};

TEST(NotificationClientSlots, AreHandleThenForceThenTheDestructor)
{
    EXPECT_EQ(SlotOf(&LNotificationClient::HandleNotification), 0u);
    EXPECT_EQ(SlotOf(&LNotificationClient::ForceUnregisterNotification), 1u);
    EXPECT_EQ(SlotOf(&QX::LNotificationReceiver::HandleNotification), 0u);
    EXPECT_EQ(SlotOf(&QX::LNotificationReceiver::ForceUnregisterNotification), 1u);
    EXPECT_EQ(SlotOf(&LLonger::Appended), 4u) << "a destructor takes two slots";
}

TEST(NotificationClientSlots, BelongToAClientThatADowncastFinds)
{
    std::string journal;
    const RCPtr<LTestClient> client(new LTestClient('a', journal));
    const RCPtr<LRefCountedObject> object = client;

    const auto found = RCPtr<LNotificationClient>::Downcast(object);

    EXPECT_EQ(found.Get(), static_cast<LNotificationClient*>(client.Get()));
    EXPECT_EQ(RCPtr<QX::LNotificationReceiver>::Downcast(object), client);
    EXPECT_EQ(RCPtr<LNotification>::Downcast(object), nullptr);
    EXPECT_EQ(ConstRCPtr<LNotificationClient>::Downcast(ConstRCPtr<LRefCountedObject>(object)),
              client);
}

} // namespace
} // namespace NotificationTests
