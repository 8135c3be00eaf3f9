// RCPtrQueue.h - a first-in, first-out ring of smart pointers that grows when it is full.
//
//     RCPtrQueue<LNotification, 256> pending(&mutex, 256);
//     pending.Enqueue(notification);
//     RCPtr<LNotification> next;
//     while (pending.TryDequeue(next)) {
//         Deliver(next);
//     }
//
// One slot of the ring always stays empty, so that equal indices mean an empty ring. Empty slots
// are null: the queue holds one reference to each queued object and none to one that has left.
//
// The ring's storage is the array that it derives from. Changing the array directly is misuse; it
// may lose or reorder objects, but nothing outside the array is touched.
#pragma once

#include <QX/Mutex.h>
#include <QX/RCPtrArray.h>

#include <atomic>

namespace QX {

/// N is the number of slots that the array grows and keeps by; it is no limit.
///
/// Threads: with a mutex, any number of threads may use the operations declared here, except Push,
/// whose caller holds the mutex. No object is released while the mutex is held.
template <class T, uint32 N>
class RCPtrQueue : public RCPtrArray<T, N, N>
{
public:
    /// Makes an empty ring of `initialSlots` slots. A null `mutex` means no locking; the queue
    /// does not own it.
    ///
    /// Throws: std::bad_alloc.
    RCPtrQueue(Mutex* mutex, uint32 initialSlots);

    /// Adds a reference to `item`'s object, which may be null, at the end and returns
    /// kResultSuccess. A full ring grows by one slot; one with fewer than two slots gets two.
    /// Inside the mutex it asks IsFull, which enters the mutex again.
    ///
    /// Throws: std::bad_alloc if it cannot grow, and what CreateCopy throws for an unshareable
    /// object; nothing has changed.
    int32 Enqueue(const RCPtr<T>& item);

    /// As Enqueue, but hands over the reference of `item`, which takes what the slot held: null,
    /// unless the array was changed directly.
    ///
    /// Requires: the calling thread holds the mutex.
    /// Throws: std::bad_alloc if the ring cannot grow; nothing has changed.
    void Push(RCPtr<T>& item);

    /// Takes the oldest object out and returns it with the queue's reference. Whether there is one
    /// and the removal are two locked steps; the removal tests again.
    ///
    /// Throws: Exception<std::runtime_error> if the queue is empty.
    RCPtr<T> Dequeue();

    /// As Dequeue, into `item`, whose own reference is dropped after the removal; returns false
    /// with nothing changed if the queue is empty.
    bool TryDequeue(RCPtr<T>& item);

    /// Returns whether all slots but the one that stays empty are taken; false without slots.
    bool IsFull();

    /// Returns the number of queued objects, which other threads may change at once.
    uint32 GetQueuedObjectsCount() const;

private:
    using Slots = RCPtrArray<T, N, N>;

    uint32 CountQueued() const;
    void KeepIndicesInside();
    void MakeRoom();
    RCPtr<T>& RingSlot(uint32 index) { return static_cast<RCPtr<T>&>(this->Slot(index)); }
    uint32 Next(uint32 index) const { return index + 1 < this->SlotCount() ? index + 1 : 0; }

    // The mutex guards the indices and the slots.
    uint32 mWriteIndex = 0; ///< the slot that the next Enqueue fills
    uint32 mReadIndex = 0;  ///< the slot that the next Dequeue empties
    Mutex* mMutex;          ///< not owned; may be null
    /// Answers for a ring without slots, which enters no lock. It never becomes false again, and
    /// everything that follows it is read under the mutex: relaxed order is enough.
    std::atomic<bool> mHasSlots;
};

} // namespace QX

#include <QX/RCPtrQueue.inl>
