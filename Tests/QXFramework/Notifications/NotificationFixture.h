// NotificationFixture.h - a client that writes down what it is asked, and the ledger of a test.
#pragma once

#include "Support/FailingHeap.h"
#include "Support/Witness.h"

#include <QX/Notification.h>
#include <QX/NotificationCenter.h>
#include <QX/NotificationClient.h>
#include <QX/NotificationDistributor.h>
#include <QX/NotificationQueue.h>

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace NotificationTests {

using QX::ConstRCPtr;
using QX::int32;
using QX::kResultFailure;
using QX::kResultNothingDone;
using QX::kResultOutOfRange;
using QX::kResultSuccess;
using QX::LNotification;
using QX::LNotificationCenter;
using QX::LNotificationCenterManager;
using QX::LNotificationClient;
using QX::LNotificationDistributor;
using QX::LNotificationQueue;
using QX::LRefCountedObject;
using QX::RCPtr;
using QX::uint32;
using TestSupport::Witness;

inline constexpr uint32 kLatest = LNotificationDistributor::kDeliverLatestOnly;

/// Writes its name for each notification, and '!' and its name when it is asked to unregister.
class LTestClient : public QX::LNotificationReceiver
{
public:
    using Distributor = RCPtr<LNotificationDistributor>;
    using Message = ConstRCPtr<LNotification>;

    LTestClient(char name, std::string& journal)
        : mName(name)
        , mJournal(journal)
    {
        ++sLiveCount;
    }
    ~LTestClient() override
    {
        --sLiveCount;
        if (onDestruction) {
            onDestruction();
        }
    }

    void HandleNotification(const Distributor& distributor, const Message& notification) override
    {
        mJournal += mName;
        if (onHandle) {
            onHandle(distributor, notification);
        }
    }
    int32 ForceUnregisterNotification(const Distributor& distributor, const char* id) override
    {
        mJournal += '!';
        mJournal += mName;
        return onForce ? onForce(distributor, id) : Leave(distributor, id);
    }

    /// Unregisters from the ID, as a client does that is asked to.
    int32 Leave(const Distributor& distributor, const char* id)
    {
        return distributor->UnregisterNotificationClient(RCPtr<LNotificationClient>(this), id);
    }
    /// Makes the client stay when it is asked to unregister.
    void Refuse()
    {
        onForce = [](const Distributor&, const char*) { return kResultFailure; };
    }

    std::function<void(const Distributor&, const Message&)> onHandle;
    std::function<int32(const Distributor&, const char*)> onForce;
    std::function<void()> onDestruction;

    inline static int sLiveCount = 0;

private:
    const char mName;
    std::string& mJournal;
};

/// Makes a payload that runs an action at its end.
inline RCPtr<LRefCountedObject> MakePayload(std::function<void()> onDestruction = nullptr)
{
    const RCPtr<Witness> payload = TestSupport::MakeWitness('p');
    payload->onDestruction = std::move(onDestruction);
    return payload;
}

/// Ends every test by comparing the counts of all kept objects with their holders, and the number
/// of live objects and listed distributors with those at its start.
class NotificationFixture : public testing::Test
{
protected:
    void SetUp() override;
    void TearDown() override;

    /// Makes the fixture a holder of `object` until the end of the test. Any other
    /// holder that is left after the test is one too many.
    template <class T>
    T& Keep(RCPtr<T> object)
    {
        T& reference = *object;
        mHolders.push_back(std::move(object));
        return reference;
    }
    /// Drops the holders that the fixture is of `object`.
    void LetGoOf(LRefCountedObject& object);

    /// Makes a client that the fixture holds, and unregisters from kept distributors at the end.
    RCPtr<LTestClient> MakeClient(char name);
    /// Makes a client that has no other holder.
    RCPtr<LTestClient> MakeUnkeptClient(char name)
    {
        return RCPtr<LTestClient>(new LTestClient(name, journal));
    }
    static RCPtr<LNotification> Make(const char* name = "A")
    {
        return LNotification::Create(name, nullptr);
    }

    LNotificationDistributor& KeepDistributor() { return Keep(LNotificationDistributor::Create()); }
    LNotificationCenter& KeepCenter(const char* name = "center")
    {
        return Keep(LNotificationCenter::Create(name));
    }
    LNotificationQueue& KeepQueue(LNotificationDistributor& distributor)
    {
        LNotificationQueue& queue = Keep(LNotificationQueue::Create());
        queue.SetDistributor(RCPtr<LNotificationDistributor>(&distributor));
        return queue;
    }

    std::string TakeJournal() { return std::exchange(journal, std::string()); }

    std::string journal;

private:
    void CheckHolders() const;
    void ReleaseKept();

    std::vector<RCPtr<LRefCountedObject>> mHolders;
    std::vector<RCPtr<LTestClient>> mClients;
    uint32 mNameCount = 0;
    uint32 mListedCount = 0;
    long mLiveBlocks = 0;
};

/// "n/k" of an object, as the tables of counts write it.
inline std::string CountsOf(const LRefCountedObject& object)
{
    return std::to_string(object.GetReferenceCount()) + "/" +
           std::to_string(object.GetContainedReferenceCount());
}

} // namespace NotificationTests
