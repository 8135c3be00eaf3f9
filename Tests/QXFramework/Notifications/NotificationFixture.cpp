// NotificationFixture.cpp - the ledger of a test.

#include "NotificationFixture.h"

#include <algorithm>

namespace NotificationTests {

void NotificationFixture::SetUp()
{
    for (const char* const name : {"A", "B", "C", "D", QX::NID_IDLE}) {
        LNotification::GetNotificationID(name);
    }
    {
        // GoogleTest keeps the memory of its first trace.
        SCOPED_TRACE("");
    }
    mHolders.reserve(16);
    mNameCount = LNotification::GetNotificationIDs().GetCount();
    mListedCount = LNotificationDistributor::GetDistributors().GetCount();
    mLiveBlocks = TestSupport::CountLiveBlocks() - 1; // that of the holders goes
}

void NotificationFixture::TearDown()
{
    // A plain queue is a holder of its distributor.
    for (const RCPtr<LRefCountedObject>& object : mHolders) {
        auto* const queue = dynamic_cast<LNotificationQueue*>(object.Get());
        if (queue != nullptr && dynamic_cast<LNotificationCenter*>(queue) == nullptr) {
            queue->ReleaseDistributor();
        }
    }
    CheckHolders();
    ReleaseKept();
    LNotification::SetNotificationReuseEnable(false);
    std::string().swap(journal);

    EXPECT_EQ(LTestClient::sLiveCount, 0);
    EXPECT_EQ(Witness::GetLiveCount(), 0);
    EXPECT_EQ(LNotificationDistributor::GetDistributors().GetCount(), mListedCount);
    // A new name stays for the life of the process.
    if (LNotification::GetNotificationIDs().GetCount() == mNameCount && !HasFailure()) {
        EXPECT_EQ(TestSupport::CountLiveBlocks(), mLiveBlocks);
    }
}

void NotificationFixture::CheckHolders() const
{
    for (const RCPtr<LRefCountedObject>& object : mHolders) {
        const auto holders = std::count(mHolders.begin(), mHolders.end(), object);
        EXPECT_EQ(object->GetReferenceCount() - object->GetContainedReferenceCount(), holders);
        EXPECT_GE(object->GetContainedReferenceCount(), 0);
    }
}

void NotificationFixture::ReleaseKept()
{
    for (const RCPtr<LTestClient>& client : mClients) {
        client->onForce = nullptr;
        client->onHandle = nullptr;
        for (const RCPtr<LRefCountedObject>& object : mHolders) {
            if (auto* const distributor = dynamic_cast<LNotificationDistributor*>(object.Get())) {
                distributor->UnregisterNotificationClient(client);
            }
        }
    }
    std::vector<RCPtr<LRefCountedObject>>().swap(mHolders);
    std::vector<RCPtr<LTestClient>>().swap(mClients);
}

void NotificationFixture::LetGoOf(LRefCountedObject& object)
{
    for (auto& holder : mHolders) {
        if (holder.Get() == &object) {
            const RCPtr<LRefCountedObject> released = std::move(holder);
        }
    }
    std::erase(mHolders, nullptr);
}

RCPtr<LTestClient> NotificationFixture::MakeClient(char name)
{
    mClients.push_back(MakeUnkeptClient(name));
    return mClients.back();
}

} // namespace NotificationTests
