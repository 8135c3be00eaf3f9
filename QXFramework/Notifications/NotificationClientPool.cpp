// NotificationClientPool.cpp - the clients of one name, and walks that survive their changes.

#include <QX/Mutex.h>
#include <QX/NotificationDistributor.h>
#include <QX/NotificationQueue.h>

#include <new>

namespace QX {

using Distributor = LNotificationDistributor;
using Pool = LNotificationDistributor::LNotificationClientPool;
using Info = LNotificationDistributor::LNotificationRegisteredClientInfo;

Info::LNotificationRegisteredClientInfo(const RCPtr<LNotificationClient>& client,
                                        DeliveryFlags flags)
    : mClient(client)
    , mDeliveryFlags(flags)
{}

Info::~LNotificationRegisteredClientInfo() = default;

RCPtr<Info> Info::Create(const RCPtr<LNotificationClient>& client, DeliveryFlags flags)
{
    return RCPtr<Info>(new LNotificationRegisteredClientInfo(client, flags));
}

void Info::SetLatest(const RCPtr<LNotification>& notification)
{
    // The one before is released without the lock, because its payload runs foreign code.
    ConstRCPtr<LNotification> exchanged(notification);
    const MutexLock lock(&LNotificationQueue::sMutex);
    mLatestNotification.Swap(exchanged);
}

bool Info::TakeLatest(const RCPtr<LNotification>& notification)
{
    ConstRCPtr<LNotification> taken;
    const MutexLock lock(&LNotificationQueue::sMutex);
    if (mLatestNotification != notification) {
        return false;
    }
    mLatestNotification.Swap(taken);
    return true;
}

/// A walk in progress: the index that it has reached, which removals below correct. Walks nest,
/// because a client may start another one on the same pool.
class Pool::Cursor
{
public:
    /// Starts above the client at `index` - 1.
    Cursor(LNotificationClientPool& pool, uint32 index)
        : mPool(pool)
        , mOuter(pool.mInnermost)
        , mIndex(index)
    {
        mPool.mInnermost = this;
        mPool.mDeliveryIndex = index;
    }
    ~Cursor()
    {
        mPool.mInnermost = mOuter;
        mPool.mDeliveryIndex = mOuter != nullptr ? mOuter->mIndex : 0;
    }
    Cursor(const Cursor&) = delete;
    Cursor& operator=(const Cursor&) = delete;

    uint32 GetIndex() const noexcept { return mIndex; }

    /// Goes on to the next record below, or returns null. The record is held until the walk goes
    /// on again or ends: by the pool as long as it stays there, by the cursor afterwards. That
    /// spares two atomic operations for each client that stays.
    Info* MoveDown()
    {
        LetGo();
        if (mIndex == 0) {
            return nullptr;
        }
        mPool.mDeliveryIndex = --mIndex;
        mRecord = &mPool.InfoAt(mIndex);
        return mRecord;
    }

    /// Ends the hold on the record. The end of a client that goes with it may change the pool, and
    /// the walk is still there to be corrected.
    void LetGo()
    {
        mRecord = nullptr;
        if (mRemoved) {
            mRemoved = nullptr;
        }
    }

    /// Corrects the walks of `pool` after `record` has left the place `index`.
    static void NoteRemoval(LNotificationClientPool& pool, uint32 index, RCPtr<Info>& record)
    {
        Cursor* keeper = nullptr;
        for (Cursor* cursor = pool.mInnermost; cursor != nullptr; cursor = cursor->mOuter) {
            if (index < cursor->mIndex) {
                --cursor->mIndex;
            }
            if (cursor->mRecord == record.Get()) {
                keeper = cursor;
            }
        }
        if (pool.mInnermost != nullptr) {
            pool.mDeliveryIndex = pool.mInnermost->mIndex;
        }
        // The outermost walk that is at the record ends last.
        if (keeper != nullptr) {
            keeper->mRemoved.Swap(record);
        }
    }

private:
    LNotificationClientPool& mPool;
    Cursor* const mOuter;
    uint32 mIndex;
    Info* mRecord = nullptr; ///< the one that is being served
    RCPtr<Info> mRemoved;    ///< mRecord when it has left the pool
};

Pool::LNotificationClientPool(const char* notificationID)
    : mNotificationID(notificationID)
{}

Pool::~LNotificationClientPool() = default;

RCPtr<Pool> Pool::Create(const char* notificationID)
{
    return RCPtr<Pool>(new LNotificationClientPool(notificationID));
}

Info& Pool::InfoAt(uint32 index) const
{
    return *mClients.GetPtr()[index];
}

int32 Pool::AddClient(const RCPtr<LNotificationClient>& client, DeliveryFlags flags)
{
    if (!client) {
        return kResultOutOfRange;
    }
    if ((flags & kDeliverLatestOnly) != 0 && mHasLatestOnlyClients != nullptr) {
        mHasLatestOnlyClients->store(true, std::memory_order_relaxed);
    }
    DeliveryFlags allFlags = 0;
    bool isPresent = false;
    ConstRCPtr<LNotification> droppedLatest; // released when the pool is consistent again
    for (uint32 index = mClients.GetCount(); index > 0; --index) {
        Info& info = InfoAt(index - 1);
        if (info.mClient == client) {
            if (info.mDeliveryFlags == flags) {
                return kResultSuccess;
            }
            info.mDeliveryFlags = flags;
            if ((flags & kDeliverLatestOnly) == 0) {
                droppedLatest.Swap(info.mLatestNotification);
            }
            isPresent = true;
        }
        allFlags |= info.mDeliveryFlags;
    }
    if (isPresent) {
        mDeliveryFlags = allFlags;
        return kResultSuccess;
    }
    if (mClients.AppendItem(Info::Create(client, flags)) < 0) {
        throw std::bad_alloc();
    }
    mDeliveryFlags |= flags;
    return kResultSuccess;
}

int32 Pool::RemoveClient(const RCPtr<LNotificationClient>& client)
{
    const int32 found = GetClientIndex(client);
    if (found < 0) {
        return kResultNothingDone;
    }
    const uint32 index = static_cast<uint32>(found);
    // Released last: it may be the client's last holder, and the client's destructor may come back.
    RCPtr<Info> removed;
    mClients.RemoveItem(index, removed);
    Cursor::NoteRemoval(*this, index, removed);
    return kResultSuccess;
}

int32 Pool::GetClientIndex(const RCPtr<LNotificationClient>& client) const
{
    for (uint32 index = mClients.GetCount(); index > 0; --index) {
        if (InfoAt(index - 1).mClient == client) {
            return static_cast<int32>(index - 1);
        }
    }
    return -1;
}

int32 Pool::GetDeliveryFlags(const RCPtr<LNotificationClient>& client, DeliveryFlags& flags) const
{
    const int32 index = GetClientIndex(client);
    if (index < 0) {
        return kResultFailure;
    }
    flags = InfoAt(static_cast<uint32>(index)).mDeliveryFlags;
    return kResultSuccess;
}

int32 Pool::DeliverNotification(LNotificationDistributor& distributor,
                                const RCPtr<LNotification>& notification)
{
    // A client may drop every holder outside; all three are needed until the walk has ended.
    const RCPtr<LNotificationClientPool> self(this);
    const RCPtr<LNotificationDistributor> keptDistributor(&distributor);
    const RCPtr<LNotification> keptNotification(notification);
    return DeliverToAll(keptDistributor, keptNotification);
}

// The caller holds this pool, and the other two by pointers that no client has.
int32 Pool::DeliverToAll(const RCPtr<LNotificationDistributor>& distributor,
                         const RCPtr<LNotification>& notification)
{
    const uint32 count = mClients.GetCount();
    if (count == 0) {
        return kResultNothingDone;
    }
    Cursor cursor(*this, count);
    while (Info* const record = cursor.MoveDown()) {
        Serve(*record, distributor, notification);
    }
    return kResultSuccess;
}

uint32 Pool::DeliverNotification(LNotificationDistributor& distributor, uint32 index,
                                 const RCPtr<LNotification>& notification)
{
    if (index >= mClients.GetCount()) {
        return index;
    }
    const RCPtr<LNotificationClientPool> self(this);
    const RCPtr<LNotificationDistributor> keptDistributor(&distributor);
    const RCPtr<LNotification> keptNotification(notification);
    Cursor cursor(*this, index + 1);
    if (Info* const record = cursor.MoveDown()) {
        Serve(*record, keptDistributor, keptNotification);
    }
    cursor.LetGo();
    return cursor.GetIndex();
}

// The caller's cursor is at the record, which nobody gives another client.
void Pool::Serve(Info& record, const RCPtr<LNotificationDistributor>& distributor,
                 const RCPtr<LNotification>& notification)
{
    if (!notification) {
        return;
    }
    if ((record.mDeliveryFlags & kDeliverLatestOnly) != 0 && !record.TakeLatest(notification)) {
        return;
    }
    record.mClient->HandleNotification(distributor, notification);
}

void Pool::AskClientsToUnregister(const RCPtr<LNotificationDistributor>& distributor,
                                  ClientExceptions exceptions)
{
    Cursor cursor(*this, mClients.GetCount());
    while (const Info* const record = cursor.MoveDown()) {
        try {
            record->mClient->ForceUnregisterNotification(distributor, mNotificationID);
        } catch (...) {
            if (exceptions == ClientExceptions::kPass) {
                throw;
            }
        }
    }
}

void Pool::SetLatestNotification(const RCPtr<LNotification>& notification)
{
    for (uint32 index = mClients.GetCount(); index > 0; --index) {
        // Releasing the notification before it runs foreign code, which may change the pool.
        if (index > mClients.GetCount()) {
            continue;
        }
        Info& record = InfoAt(index - 1);
        if ((record.mDeliveryFlags & kDeliverLatestOnly) != 0) {
            const RCPtr<Info> kept(&record);
            record.SetLatest(notification);
        }
    }
}

} // namespace QX
