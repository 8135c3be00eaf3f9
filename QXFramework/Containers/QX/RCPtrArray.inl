// RCPtrArray.inl - the bodies of the smart-pointer arrays; included by RCPtrArray.h.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <utility>

namespace QX {

template <class T, uint32 Grow, uint32 Init>
ConstRCPtrArray<T, Grow, Init>::ConstRCPtrArray(uint32 count, uint32 reserve)
    : mSlots(BytesOf(count), BytesOf(reserve), true)
{
    if (count != 0 && mSlots.GetData() == nullptr) {
        throw std::bad_alloc();
    }
}

template <class T, uint32 Grow, uint32 Init>
ConstRCPtrArray<T, Grow, Init>::~ConstRCPtrArray()
{
    // In place, so that nothing moves. An object's end may still take elements away or add some,
    // which moves the others: the array is empty when a whole pass finds no object.
    for (bool isEmpty = false; !isEmpty;) {
        isEmpty = true;
        for (uint32 index = 0; index < SlotCount(); ++index) {
            if (Slot(index) != nullptr) {
                ConstRCPtr<T> removed;
                removed.Swap(Slot(index));
                isEmpty = false;
            }
        }
    }
}

template <class T, uint32 Grow, uint32 Init>
int32 ConstRCPtrArray<T, Grow, Init>::SetCount(uint32 count)
{
    const uint32 current = SlotCount();
    if (current > count) {
        return ConstRCPtrArray::Remove(count, current - count);
    }
    if (current < count) {
        if (!ResizeSlots(count)) {
            return kResultFailure;
        }
        ClearSlots(current, count);
    }
    return static_cast<int32>(count);
}

template <class T, uint32 Grow, uint32 Init>
int32 ConstRCPtrArray<T, Grow, Init>::Insert(uint32 index, uint32 count)
{
    const uint32 current = SlotCount();
    if (count == 0) {
        return static_cast<int32>(current);
    }
    if (current < index) {
        return kResultOutOfRange;
    }
    const uint64 total = uint64{current} + count;
    if (!ResizeSlots(total)) {
        return kResultFailure;
    }
    T** const opened = mSlots.GetData() + index;
    if (index != current) {
        std::memmove(opened + count, opened, std::size_t{current - index} * kSlotSize);
    }
    ClearSlots(index, index + count);
    return static_cast<int32>(total);
}

template <class T, uint32 Grow, uint32 Init>
int32 ConstRCPtrArray<T, Grow, Init>::Remove(uint32 index, uint32 count)
{
    ConstRCPtr<T> removed;
    while (count != 0) {
        // While nothing is held no other code can run, so null slots are closed in one step.
        const uint32 nulls = removed == nullptr ? CountNulls(index, count) : 0;
        if (nulls != 0) {
            RemoveInternal(index, nulls);
            count -= nulls;
        } else {
            ConstRCPtrArray::RemoveItem(index, removed);
            --count;
        }
    }
    removed = RCPtr<T>::Null;
    return static_cast<int32>(SlotCount());
}

template <class T, uint32 Grow, uint32 Init>
int32 ConstRCPtrArray<T, Grow, Init>::InsertItem(uint32 index, const ConstRCPtr<T>& item)
{
    const uint32 before = OwnIndexOf(item);
    const int32 result = ConstRCPtrArray::Insert(index, 1);
    if (result < 0) {
        return result;
    }
    // An element of this array has moved with the others.
    const ConstRCPtr<T>& source =
        before == kNoIndex ? item : Slot(before < index ? before : before + 1);
    try {
        if (source == nullptr || source->IsShareable()) [[likely]] {
            Slot(index) = source;
        } else {
            // Its copy is made apart from the slot, since making it may change this array.
            ConstRCPtr<T> copy(source);
            if (index < SlotCount()) {
                Slot(index).Swap(copy);
            }
        }
    } catch (...) {
        if (index < SlotCount() && Slot(index) == nullptr) {
            RemoveInternal(index, 1);
        }
        throw;
    }
    return static_cast<int32>(index);
}

template <class T, uint32 Grow, uint32 Init>
int32 ConstRCPtrArray<T, Grow, Init>::AppendItem(const ConstRCPtr<T>& item)
{
    return ConstRCPtrArray::InsertItem(SlotCount(), item);
}

template <class T, uint32 Grow, uint32 Init>
int32 ConstRCPtrArray<T, Grow, Init>::RemoveItem(uint32 index, ConstRCPtr<T>& removed)
{
    return TakeItem(index, removed, ThrowSites::kConstRCPtrArrayRemoveItem);
}

template <class T, uint32 Grow, uint32 Init>
int32 ConstRCPtrArray<T, Grow, Init>::TakeItem(uint32 index, ConstRCPtr<T>& removed, ThrowSite site)
{
    if (index >= SlotCount()) {
        ThrowException<std::out_of_range>("", site);
    }
    ConstRCPtr<T>* const target = Reset(removed);
    if (target == nullptr || index >= SlotCount()) {
        ThrowException<std::out_of_range>("", site);
    }
    return HandOver(index, *target);
}

template <class T, uint32 Grow, uint32 Init>
int32 ConstRCPtrArray<T, Grow, Init>::RemoveLast(ConstRCPtr<T>& removed)
{
    ConstRCPtr<T>* const target = Reset(removed);
    if (target == nullptr || SlotCount() == 0) {
        return kResultFailure;
    }
    return HandOver(SlotCount() - 1, *target);
}

// Moves the reference at `index` to `target`, which was made null, and closes the slot.
template <class T, uint32 Grow, uint32 Init>
int32 ConstRCPtrArray<T, Grow, Init>::HandOver(uint32 index, ConstRCPtr<T>& target)
{
    // The end of the target's former object may have stored another one there, which has to be
    // dropped: closing a slot drops nothing.
    ConstRCPtr<T> storedMeanwhile;
    storedMeanwhile.Swap(target);
    target.Swap(Slot(index));
    return RemoveInternal(index, 1);
}

template <class T, uint32 Grow, uint32 Init>
int32 ConstRCPtrArray<T, Grow, Init>::Swap(uint32 left, uint32 right)
{
    Slot(left).Swap(Slot(right));
    return kResultSuccess;
}

template <class T, uint32 Grow, uint32 Init>
int32 ConstRCPtrArray<T, Grow, Init>::RemoveInternal(uint32 index, uint32 count)
{
    const uint32 current = SlotCount();
    if (count == 0) {
        return static_cast<int32>(current);
    }
    if (index > current || count > current - index) {
        return kResultOutOfRange;
    }
    const uint32 following = current - index - count;
    if (following != 0) {
        T** const closed = mSlots.GetData() + index;
        std::memmove(closed, closed + count, std::size_t{following} * kSlotSize);
    }
    ResizeSlots(current - count); // a smaller size is never refused
    return static_cast<int32>(current - count);
}

template <class T, uint32 Grow, uint32 Init>
bool ConstRCPtrArray<T, Grow, Init>::ResizeSlots(uint64 count)
{
    // The refusal has to come before the old block is given up: it holds references.
    return count <= kMaxSlotCount && mSlots.TryResizeBytes(static_cast<uint32>(count) * kSlotSize);
}

template <class T, uint32 Grow, uint32 Init>
void ConstRCPtrArray<T, Grow, Init>::ClearSlots(uint32 first, uint32 last)
{
    T** const slots = mSlots.GetData();
    for (uint32 index = first; index < last; ++index) {
        slots[index] = nullptr;
    }
}

template <class T, uint32 Grow, uint32 Init>
uint32 ConstRCPtrArray<T, Grow, Init>::BytesOf(uint32 count)
{
    if (count > kMaxSlotCount) {
        throw std::bad_alloc();
    }
    return count * kSlotSize;
}

// Returns how many of the `count` slots from `index` on are null before the first that is not.
template <class T, uint32 Grow, uint32 Init>
uint32 ConstRCPtrArray<T, Grow, Init>::CountNulls(uint32 index, uint32 count) const
{
    const uint32 present = index < SlotCount() ? SlotCount() - index : 0;
    const uint32 limit = std::min(count, present);
    uint32 nulls = 0;
    while (nulls < limit && Slot(index + nulls) == nullptr) {
        ++nulls;
    }
    return nulls;
}

// Returns the index of the slot that `pointer` is, or kNoIndex if it is none of this array's.
template <class T, uint32 Grow, uint32 Init>
uint32 ConstRCPtrArray<T, Grow, Init>::OwnIndexOf(const ConstRCPtr<T>& pointer) const
{
    const uint64 distance = uint64{reinterpret_cast<std::uintptr_t>(&pointer)} -
                            uint64{reinterpret_cast<std::uintptr_t>(mSlots.GetData())};
    const uint64 index = distance / kSlotSize;
    return index < SlotCount() ? static_cast<uint32>(index) : kNoIndex;
}

// Makes `pointer` null and returns where it is afterwards. A slot of this array may have moved, or
// be gone (null), because dropping its reference runs a destructor that may change the array.
template <class T, uint32 Grow, uint32 Init>
ConstRCPtr<T>* ConstRCPtrArray<T, Grow, Init>::Reset(ConstRCPtr<T>& pointer)
{
    if (pointer == nullptr) {
        return &pointer;
    }
    const uint32 index = OwnIndexOf(pointer);
    pointer = RCPtr<T>::Null;
    if (index == kNoIndex) {
        return &pointer;
    }
    return index < SlotCount() ? SlotAt(index) : nullptr;
}

} // namespace QX
