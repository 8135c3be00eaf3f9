// RCPtrQueue.inl - the bodies of the ring; included by RCPtrQueue.h.
#pragma once

#include <new>

namespace QX {

template <class T, uint32 N>
RCPtrQueue<T, N>::RCPtrQueue(Mutex* mutex, uint32 initialSlots)
    : Slots(initialSlots, initialSlots)
    , mMutex(mutex)
    , mHasSlots(initialSlots != 0)
{}

template <class T, uint32 N>
int32 RCPtrQueue<T, N>::Enqueue(const RCPtr<T>& item)
{
    // Outside the lock: `item` may be a slot of this ring, and what the slot held, if the array
    // was changed directly, is released after unlocking.
    RCPtr<T> taken(item);
    const MutexLock lock(mMutex);
    Push(taken);
    return kResultSuccess;
}

template <class T, uint32 N>
void RCPtrQueue<T, N>::Push(RCPtr<T>& item)
{
    MakeRoom();
    RingSlot(mWriteIndex).Swap(item);
    mWriteIndex = Next(mWriteIndex);
}

template <class T, uint32 N>
RCPtr<T> RCPtrQueue<T, N>::Dequeue()
{
    RCPtr<T> item;
    // Two locked steps: another consumer may empty the ring in between.
    if (GetQueuedObjectsCount() == 0 || !TryDequeue(item)) {
        ThrowException<std::runtime_error>("", ThrowSites::kRCPtrQueueDequeue);
    }
    return item;
}

template <class T, uint32 N>
bool RCPtrQueue<T, N>::TryDequeue(RCPtr<T>& item)
{
    if (!mHasSlots.load(std::memory_order_relaxed)) {
        return false;
    }
    RCPtr<T> taken;
    {
        const MutexLock lock(mMutex);
        KeepIndicesInside();
        if (CountQueued() == 0) {
            return false;
        }
        RingSlot(mReadIndex).Swap(taken);
        mReadIndex = Next(mReadIndex);
    }
    item.Swap(taken);
    return true;
}

template <class T, uint32 N>
bool RCPtrQueue<T, N>::IsFull()
{
    if (!mHasSlots.load(std::memory_order_relaxed)) {
        return false;
    }
    const MutexLock lock(mMutex);
    return CountQueued() + 1 == this->SlotCount();
}

template <class T, uint32 N>
uint32 RCPtrQueue<T, N>::GetQueuedObjectsCount() const
{
    if (!mHasSlots.load(std::memory_order_relaxed)) {
        return 0;
    }
    const MutexLock lock(mMutex);
    return CountQueued();
}

template <class T, uint32 N>
uint32 RCPtrQueue<T, N>::CountQueued() const
{
    const uint32 capacity = this->SlotCount();
    if (capacity == 0) {
        return 0;
    }
    // A division costs as much as an atomic operation, and is due only for a shortened array.
    const uint32 write = mWriteIndex < capacity ? mWriteIndex : mWriteIndex % capacity;
    const uint32 read = mReadIndex < capacity ? mReadIndex : mReadIndex % capacity;
    return write >= read ? write - read : write - read + capacity;
}

// The indices leave the ring only when its array has been shortened.
template <class T, uint32 N>
void RCPtrQueue<T, N>::KeepIndicesInside()
{
    const uint32 capacity = this->SlotCount();
    if (mWriteIndex >= capacity || mReadIndex >= capacity) {
        mWriteIndex = capacity != 0 ? mWriteIndex % capacity : 0;
        mReadIndex = capacity != 0 ? mReadIndex % capacity : 0;
    }
}

// Makes sure that the slot at the write index may be filled.
template <class T, uint32 N>
void RCPtrQueue<T, N>::MakeRoom()
{
    KeepIndicesInside();
    // In a single slot nothing can be queued, since one slot stays empty.
    if (this->SlotCount() < 2) {
        if (Slots::SetCount(2) != 2) {
            throw std::bad_alloc();
        }
        mWriteIndex = 0;
        mReadIndex = 0;
    } else if (IsFull()) {
        // The slots from the oldest object upwards move up by one; so does the write index if it
        // lies there.
        if (Slots::Insert(mReadIndex, 1) < 0) {
            throw std::bad_alloc();
        }
        if (mReadIndex < mWriteIndex) {
            ++mWriteIndex;
        }
        mReadIndex = Next(mReadIndex);
    }
    mHasSlots.store(true, std::memory_order_relaxed);
}

} // namespace QX
