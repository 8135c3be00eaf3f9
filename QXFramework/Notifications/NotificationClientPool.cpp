// NotificationClientPool.cpp - the clients of one name, and walks that survive their changes.

#include <QX/NotificationDistributor.h>

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

/// A walk in progress: the index that it has reached, which removals below correct. Walks nest,
/// because a client may start another one on the same pool.
class Pool::Cursor
{
public:
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
    void MoveDown() noexcept { mPool.mDeliveryIndex = --mIndex; }

    /// Corrects the walks of `pool` after the client at `removed` has left it.
    static void NoteRemoval(LNotificationClientPool& pool, uint32 removed) noexcept
    {
        for (Cursor* cursor = pool.mInnermost; cursor != nullptr; cursor = cursor->mOuter) {
            if (removed < cursor->mIndex) {
                --cursor->mIndex;
            }
        }
        if (pool.mInnermost != nullptr) {
            pool.mDeliveryIndex = pool.mInnermost->mIndex;
        }
    }

private:
    LNotificationClientPool& mPool;
    Cursor* const mOuter;
    uint32 mIndex;
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
    DeliveryFlags allFlags = 0;
    bool isChanged = false;
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
            isChanged = true;
            isPresent = true;
        }
        allFlags |= info.mDeliveryFlags;
    }
    if (!isPresent) {
        if (mClients.AppendItem(Info::Create(client, flags)) < 0) {
            throw std::bad_alloc();
        }
        mDeliveryFlags |= flags;
    }
    if (isChanged) {
        mDeliveryFlags = allFlags;
    }
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
    Cursor::NoteRemoval(*this, index);
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
    const uint32 count = mClients.GetCount();
    if (count == 0) {
        return kResultNothingDone;
    }
    // A client may drop every holder outside; all three are needed until the walk has ended.
    const RCPtr<LNotificationClientPool> self(this);
    const RCPtr<LNotificationDistributor> keptDistributor(&distributor);
    const ConstRCPtr<LNotification> keptNotification(notification);
    for (int32 index = static_cast<int32>(count) - 1; index >= 0; --index) {
        index = static_cast<int32>(
            DeliverToClient(keptDistributor, static_cast<uint32>(index), keptNotification));
    }
    return kResultSuccess;
}

uint32 Pool::DeliverNotification(LNotificationDistributor& distributor, uint32 index,
                                 const RCPtr<LNotification>& notification)
{
    const RCPtr<LNotificationClientPool> self(this);
    const RCPtr<LNotificationDistributor> keptDistributor(&distributor);
    const ConstRCPtr<LNotification> keptNotification(notification);
    return DeliverToClient(keptDistributor, index, keptNotification);
}

// The caller holds this pool, the distributor and the notification by pointers that no client has.
uint32 Pool::DeliverToClient(const RCPtr<LNotificationDistributor>& distributor, uint32 index,
                             const ConstRCPtr<LNotification>& notification)
{
    if (!notification || index >= mClients.GetCount()) {
        return index;
    }
    const RCPtr<Info> info(mClients.GetPtr()[index]);
    if ((info->mDeliveryFlags & kDeliverLatestOnly) != 0) {
        if (info->mLatestNotification != notification) {
            return index;
        }
        info->mLatestNotification = nullptr;
    }
    // Nobody replaces the client of a record, so the record is all that has to be held.
    const Cursor cursor(*this, index);
    info->mClient->HandleNotification(distributor, notification);
    return cursor.GetIndex();
}

void Pool::AskClientsToUnregister(const RCPtr<LNotificationDistributor>& distributor,
                                  ClientExceptions exceptions)
{
    Cursor cursor(*this, mClients.GetCount());
    while (cursor.GetIndex() > 0) {
        cursor.MoveDown();
        const RCPtr<LNotificationClient> client(InfoAt(cursor.GetIndex()).mClient);
        try {
            client->ForceUnregisterNotification(distributor, mNotificationID);
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
        const RCPtr<Info> info(mClients.GetPtr()[index - 1]);
        if ((info->mDeliveryFlags & kDeliverLatestOnly) != 0) {
            info->mLatestNotification = notification;
        }
    }
}

} // namespace QX
