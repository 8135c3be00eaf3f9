// NotificationClientPool.cpp - the clients of one name, and walks over them while they change.

#include "PostMutex.h"

#include <QX/NotificationDistributor.h>

#include <new>

namespace QX {

using Pool = LNotificationDistributor::LNotificationClientPool;
using Info = LNotificationDistributor::LNotificationRegisteredClientInfo;

template <>
constinit const RCPtr<Pool> RCPtr<Pool>::Null{};

/// A walk in progress, down from the last client. Walks nest, because a client may start another
/// one on the same pool: the innermost works on the pool's delivery index, and each keeps that of
/// the walk around it. Removals correct them all.
class Pool::Walk
{
public:
    /// Starts above the client at `index` - 1.
    Walk(LNotificationClientPool& pool, uint32 index)
        : mPool(pool)
        , mOuter(pool.mInnermost)
        , mOuterIndex(pool.mDeliveryIndex)
    {
        mPool.mInnermost = this;
        mPool.mDeliveryIndex = index;
    }
    ~Walk()
    {
        mPool.mInnermost = mOuter;
        mPool.mDeliveryIndex = mOuterIndex;
    }
    Walk(const Walk&) = delete;
    Walk& operator=(const Walk&) = delete;

    uint32 GetIndex() const noexcept { return mPool.mDeliveryIndex; }

    /// Goes on to the next client below, or returns false.
    bool MoveDown() noexcept
    {
        if (mPool.mDeliveryIndex == 0) {
            return false;
        }
        --mPool.mDeliveryIndex;
        return true;
    }

    /// Corrects the walks of `pool` after the client at `index` has left.
    static void NoteRemoval(LNotificationClientPool& pool, uint32 index) noexcept
    {
        Lower(pool.mDeliveryIndex, index);
        for (Walk* walk = pool.mInnermost; walk != nullptr; walk = walk->mOuter) {
            Lower(walk->mOuterIndex, index);
        }
    }

private:
    static void Lower(uint32& walkIndex, uint32 removedIndex) noexcept
    {
        if (removedIndex < walkIndex) {
            --walkIndex;
        }
    }

    LNotificationClientPool& mPool;
    Walk* const mOuter;
    uint32 mOuterIndex; ///< 0 for the outermost
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
    DeliveryFlags allFlags = flags;
    Info* present = nullptr;
    for (uint32 index = mClients.GetCount(); index > 0; --index) {
        Info& info = InfoAt(index - 1);
        if (info.GetClient() != client) {
            allFlags |= info.GetDeliveryFlags();
        } else if (info.GetDeliveryFlags() == flags) {
            return kResultSuccess;
        } else {
            present = &info;
        }
    }
    if (present == nullptr) {
        AppendClient(client, flags);
        return kResultSuccess;
    }
    ConstRCPtr<LNotification> dropped; // released after unlocking
    const MutexLock lock(gPostMutex);
    present->SetDeliveryFlags(flags, dropped);
    mDeliveryFlags = allFlags;
    return kResultSuccess;
}

void Pool::AppendClient(const RCPtr<LNotificationClient>& client, DeliveryFlags flags)
{
    RCPtr<Info> added = Info::Create(client, flags); // released after unlocking if it finds no room
    const uint32 index = mClients.GetCount();
    const MutexLock lock(gPostMutex);
    if (mClients.SetCount(index + 1) < 0) {
        throw std::bad_alloc();
    }
    mClients.GetPtr()[index].Swap(added);
    mDeliveryFlags |= flags;
}

int32 Pool::RemoveClient(const RCPtr<LNotificationClient>& client)
{
    const int32 found = GetClientIndex(client);
    if (found < 0) {
        return kResultNothingDone;
    }
    const uint32 index = static_cast<uint32>(found);
    // Released last: it may be the client's last holder, and the client's destructor may call this
    // pool again.
    RCPtr<Info> removed;
    const MutexLock lock(gPostMutex);
    mClients.RemoveItem(index, removed);
    Walk::NoteRemoval(*this, index);
    return kResultSuccess;
}

int32 Pool::GetClientIndex(const RCPtr<LNotificationClient>& client) const
{
    for (uint32 index = mClients.GetCount(); index > 0; --index) {
        if (InfoAt(index - 1).GetClient() == client) {
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
    flags = InfoAt(static_cast<uint32>(index)).GetDeliveryFlags();
    return kResultSuccess;
}

int32 Pool::DeliverNotification(LNotificationDistributor& distributor,
                                const RCPtr<LNotification>& notification)
{
    // A client may drop every other holder; all three are needed until the walk has ended.
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
    Walk walk(*this, count);
    while (walk.MoveDown()) {
        Serve(walk.GetIndex(), distributor, notification);
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
    const Walk walk(*this, index);
    Serve(index, keptDistributor, keptNotification);
    return walk.GetIndex();
}

// The caller's walk is at `index`. It is still running when the references are dropped at the end:
// that may run code of the client's, which may change the pool.
void Pool::Serve(uint32 index, const RCPtr<LNotificationDistributor>& distributor,
                 const RCPtr<LNotification>& notification)
{
    // The record first: a client may run code of its own when it gets a holder, and leave.
    const RCPtr<Info> record(mClients.GetPtr()[index]);
    const RCPtr<LNotificationClient> client(record->GetClient());
    if (!notification || (record->IsLatestOnly() && !record->TakeLatest(notification))) {
        return;
    }
    client->HandleNotification(distributor, notification);
}

void Pool::AskClientsToUnregister(const RCPtr<LNotificationDistributor>& distributor,
                                  ClientExceptions exceptions)
{
    Walk walk(*this, mClients.GetCount());
    while (walk.MoveDown()) {
        const RCPtr<LNotificationClient> client(InfoAt(walk.GetIndex()).GetClient());
        try {
            client->ForceUnregisterNotification(distributor, mNotificationID);
        } catch (...) {
            if (exceptions == ClientExceptions::kPass) {
                throw;
            }
        }
    }
}

void Pool::PrepareLatest(const RCPtr<LNotification>& notification,
                         LatestNotifications& latest) const
{
    if (!HasLatestOnlyClients()) {
        return;
    }
    for (uint32 index = mClients.GetCount(); index > 0; --index) {
        if (InfoAt(index - 1).IsLatestOnly()) {
            latest.push_back(notification);
        }
    }
}

void Pool::ExchangeLatest(LatestNotifications& latest) noexcept
{
    auto next = latest.begin();
    for (uint32 index = mClients.GetCount(); next != latest.end(); --index) {
        Info& record = InfoAt(index - 1);
        if (record.IsLatestOnly()) {
            record.ExchangeLatest(*next++);
        }
    }
}

} // namespace QX
