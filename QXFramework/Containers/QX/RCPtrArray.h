// RCPtrArray.h - arrays of smart pointers over one block of plain object pointers.
//
// A slot is null or holds one reference to its object. Opening, closing and moving slots moves
// plain pointers and changes no count.
//
//     RCPtrArray<LNotification, 1, 0> posted;
//     posted.AppendItem(first);             // 0, the index; the array holds one reference
//     posted.Insert(0, 1);                  // 2, the count: [null, first]
//     RCPtr<LNotification> taken;
//     posted.RemoveItem(1, taken);          // 1, the count; the reference is now `taken`'s
//
// If an array is a member of an object that it holds, take that object out with RemoveItem or
// RemoveLast, which hand the reference over. The other removals use the array again after they have
// dropped a reference, and it may be gone with the object.
//
// An exception of an object's RemoveReference ends a removal: that reference is gone, and what was
// still to be removed stays. The destructor of the array swallows it.
//
// An RCPtrArray<T> is the same block seen twice: as a sequence of RCPtr<T>, which the calls on the
// array itself mean, and as one of ConstRCPtr<T>, which is reached through the base class.
//
// Grow and Init are numbers of slots: the block grows by Grow slots, starts with room for Init,
// and is kept while it is at most max(Init, Grow - 1) slots too large.
//
// Threads: one at a time, or under the owner's lock.
#pragma once

#include <QX/Buffer.h>
#include <QX/Iterable.h>
#include <QX/RCPtr.h>
#include <QX/ThrowSites.h>

#include <type_traits>

namespace QX {

template <class T, uint32 Grow, uint32 Init>
class ConstRCPtrArray : public IArray<ConstRCPtr<T>>
{
public:
    /// Makes an array of `count` null slots with room for `reserve`.
    ///
    /// Throws: std::bad_alloc.
    explicit ConstRCPtrArray(uint32 count = 0, uint32 reserve = Init);
    // A copy would own every reference twice; Copy takes references of its own.
    ConstRCPtrArray(const ConstRCPtrArray&) = delete;
    ConstRCPtrArray& operator=(const ConstRCPtrArray&) = delete;
    /// Drops every reference, the first element's first. Meanwhile the slots stay where they are.
    ~ConstRCPtrArray() override;

    uint32 GetCount() const override { return SlotCount(); }

    /// Returns the first slot; null if there is no block yet.
    ConstRCPtr<T>* GetPtr() override { return SlotAt(0); }
    const ConstRCPtr<T>* GetPtr() const override { return SlotAt(0); }

    /// Returns the slot at `index`, which nothing checks; null if there is no block yet.
    ConstRCPtr<T>* GetAt(uint32 index) override
    {
        return SlotAt(mSlots.GetData() != nullptr ? index : 0);
    }
    const ConstRCPtr<T>* GetAt(uint32 index) const override
    {
        return SlotAt(mSlots.GetData() != nullptr ? index : 0);
    }

    /// Adds null slots, or drops the last references as Remove does, and returns `count`.
    ///
    /// Fails: kResultFailure if there is no memory for that many slots or they take 2^31 bytes;
    /// nothing changes. Throws: as Remove, if an object's end shortens the array meanwhile.
    int32 SetCount(uint32 count) override;

    /// Opens `count` null slots in front of `index` and returns the new count. A count of 0 returns
    /// the present count, whatever the index.
    ///
    /// Fails: kResultOutOfRange for an index above the count, kResultFailure as SetCount; nothing
    /// changes.
    int32 Insert(uint32 index, uint32 count) override;

    /// Removes `count` elements one by one and returns the new count. Each reference is dropped
    /// after its slot has been closed; null slots that follow each other are closed together.
    ///
    /// Throws: as RemoveItem, once it has removed what there was from `index` on.
    int32 Remove(uint32 index, uint32 count) override;

    /// Opens a slot in front of `index`, assigns `item` to it, and returns `index`.
    ///
    /// Fails: as Insert. Throws: what the assignment throws, such as CreateCopy for an unshareable
    /// object. Nothing changes in either case.
    int32 InsertItem(uint32 index, const ConstRCPtr<T>& item) override;
    /// As InsertItem, after the last element.
    int32 AppendItem(const ConstRCPtr<T>& item) override;

    /// Hands the reference at `index` to `removed`, which first drops what it holds, and closes
    /// the slot. Returns the new count. What the dropped object's end stores in `removed` is
    /// dropped as well.
    ///
    /// Throws: Exception<std::out_of_range> for an index not below the count, with nothing
    /// changed; also if dropping what `removed` held has made the array that short.
    int32 RemoveItem(uint32 index, ConstRCPtr<T>& removed) override;

    /// Hands the last reference to `removed` and returns the new count. Fails: kResultFailure for
    /// an empty array; `removed` is null.
    int32 RemoveLast(ConstRCPtr<T>& removed) override;

    /// Exchanges two slots, with no count changed, and returns kResultSuccess.
    ///
    /// Requires: both indices below the count. Unlike on an RCPtrArray itself, nothing checks them.
    int32 Swap(uint32 left, uint32 right) override;

protected:
    /// Returns the number of slots, which GetCount returns too.
    uint32 SlotCount() const { return mSlots.GetSizeBytes() / kSlotSize; }

    /// Returns the slot at an index below the count, which nobody checks here.
    //
    // The slots are only ever touched as T* through the block's T** and as the one member of
    // ConstRCPtr, which is a T* too. Inside any other struct, or in an array member, the compiler
    // may assume that the two are different objects, and it does.
    ConstRCPtr<T>* SlotAt(uint32 index) const
    {
        static_assert(sizeof(RCPtr<T>) == sizeof(T*) && alignof(RCPtr<T>) == alignof(T*));
        static_assert(std::is_standard_layout_v<RCPtr<T>> && !std::is_polymorphic_v<RCPtr<T>>);
        return reinterpret_cast<ConstRCPtr<T>*>(mSlots.GetData() + index);
    }
    /// As SlotAt.
    ConstRCPtr<T>& Slot(uint32 index) const { return *SlotAt(index); }

    /// RemoveItem for both views, which differ in the position that the exception names.
    int32 TakeItem(uint32 index, ConstRCPtr<T>& removed, ThrowSite site);

    /// Closes `count` slots without dropping what they hold and returns the new count.
    ///
    /// Fails: kResultOutOfRange for a range that leaves the array; nothing changes.
    int32 RemoveInternal(uint32 index, uint32 count);

private:
    static constexpr uint32 kSlotSize = sizeof(T*);
    static constexpr uint32 kMaxSlotCount = 0x7FFFFFFF / kSlotSize;

    static constexpr uint32 kNoIndex = 0xFFFFFFFF;

    static uint32 BytesOf(uint32 count);
    bool ResizeSlots(uint64 count);
    void ClearSlots(uint32 first, uint32 last);
    uint32 CountNulls(uint32 index, uint32 count) const;
    uint32 OwnIndexOf(const ConstRCPtr<T>& pointer) const;
    ConstRCPtr<T>* Reset(ConstRCPtr<T>& pointer);
    int32 HandOver(uint32 index, ConstRCPtr<T>& target);

    BufferT<kSlotSize * Grow, kSlotSize * Init, 8, T**, &GetSystemAllocator> mSlots;
};

/// The array of references with write access.
template <class T, uint32 Grow, uint32 Init>
class RCPtrArray : public IArray<RCPtr<T>>, public ConstRCPtrArray<T, Grow, Init>
{
    using ReadOnly = ConstRCPtrArray<T, Grow, Init>;
    using ReadWrite = IArray<RCPtr<T>>;

    // Hidden, so that no ConstRCPtr gets into a sequence of RCPtr by a call on the array itself; a
    // caller who goes through the base class is responsible.
    using ReadOnly::Append;
    using ReadOnly::AppendItem;
    using ReadOnly::Copy;
    using ReadOnly::InsertItem;
    using ReadOnly::RemoveItem;
    using ReadOnly::RemoveLast;

public:
    /// As ConstRCPtrArray.
    explicit RCPtrArray(uint32 count = 0, uint32 reserve = Init)
        : ReadOnly(count, reserve)
    {}

    // One body for both views.

    /// As ConstRCPtrArray.
    uint32 GetCount() const override { return ReadOnly::SlotCount(); }
    int32 SetCount(uint32 count) override { return ReadOnly::SetCount(count); }
    int32 Insert(uint32 index, uint32 count) override { return ReadOnly::Insert(index, count); }
    /// As ConstRCPtrArray's; so the exception names that class's position.
    int32 Remove(uint32 index, uint32 count) override { return ReadOnly::Remove(index, count); }

    /// As ConstRCPtrArray, with write access.
    RCPtr<T>* GetPtr() override { return AsWritable(ReadOnly::GetPtr()); }
    const RCPtr<T>* GetPtr() const override { return AsWritable(ReadOnly::GetPtr()); }
    RCPtr<T>* GetAt(uint32 index) override { return AsWritable(ReadOnly::GetAt(index)); }
    const RCPtr<T>* GetAt(uint32 index) const override
    {
        return AsWritable(ReadOnly::GetAt(index));
    }
    RCPtr<T>* GetCurrent(void* const& handle) override { return static_cast<RCPtr<T>*>(handle); }
    const RCPtr<T>* GetCurrent(void* const& handle) const override
    {
        return static_cast<const RCPtr<T>*>(handle);
    }

    /// As ConstRCPtrArray.
    int32 InsertItem(uint32 index, const RCPtr<T>& item) override
    {
        return ReadOnly::InsertItem(index, item);
    }
    int32 AppendItem(const RCPtr<T>& item) override { return ReadOnly::AppendItem(item); }
    int32 RemoveItem(uint32 index, RCPtr<T>& removed) override
    {
        return ReadOnly::TakeItem(index, removed, ThrowSites::kRCPtrArrayRemoveItem);
    }
    int32 RemoveLast(RCPtr<T>& removed) override { return ReadOnly::RemoveLast(removed); }

    using ReadWrite::Append;
    using ReadWrite::Copy;
    /// As IIterable. Such an array has two iterable bases; these overloads pick the one with write
    /// access.
    template <uint32 G, uint32 I>
    int32 Append(const RCPtrArray<T, G, I>& other)
    {
        return ReadWrite::Append(static_cast<const IArray<RCPtr<T>>&>(other));
    }
    template <uint32 G, uint32 I>
    int32 Copy(const RCPtrArray<T, G, I>& other)
    {
        return ReadWrite::Copy(static_cast<const IArray<RCPtr<T>>&>(other));
    }

    using ReadWrite::Clear;
    using ReadWrite::GetBegin;
    using ReadWrite::GetEnd;
    using ReadWrite::GetIteratorHandleBegin;
    using ReadWrite::GetIteratorHandleEnd;
    using ReadWrite::GetMaxCount;
    using ReadWrite::OffsetIteratorHandle;
    // Never an override: it would replace the unchecked exchange of the other view as well.
    using ReadWrite::Swap;

private:
    static RCPtr<T>* AsWritable(ConstRCPtr<T>* slot) { return static_cast<RCPtr<T>*>(slot); }
    static const RCPtr<T>* AsWritable(const ConstRCPtr<T>* slot)
    {
        return static_cast<const RCPtr<T>*>(slot);
    }
};

} // namespace QX

#include <QX/RCPtrArray.inl>
