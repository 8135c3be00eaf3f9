// Iterable.inl - the bodies of the container interfaces; included by Iterable.h.
#pragma once

#include <algorithm>
#include <cstdint>

namespace QX {

template <class T>
T* IteratorT<T>::GetCurrentMoveNext()
{
    void* const current = mHandle;
    mHandle = mContainer->OffsetIteratorHandle(current, 1);
    return mContainer->GetCurrent(current);
}

template <class T>
IteratorT<T> IIterable<T>::GetBegin()
{
    return IteratorT<T>(*this, GetIteratorHandleBegin());
}

template <class T>
IteratorT<T> IIterable<T>::GetBegin() const
{
    return const_cast<IIterable*>(this)->GetBegin();
}

template <class T>
IteratorT<T> IIterable<T>::GetEnd()
{
    return IteratorT<T>(*this, GetIteratorHandleEnd());
}

template <class T>
IteratorT<T> IIterable<T>::GetEnd() const
{
    return const_cast<IIterable*>(this)->GetEnd();
}

template <class T>
const T* IIterable<T>::GetCurrent(void* const& handle) const
{
    return const_cast<IIterable*>(this)->GetCurrent(handle);
}

template <class T>
const T* IIterable<T>::GetAt(uint32 index) const
{
    return const_cast<IIterable*>(this)->GetAt(index);
}

template <class T>
T* IIterable<T>::GetAt(uint32 index)
{
    void* handle = GetBegin().mHandle;
    for (; index != 0; --index) {
        handle = OffsetIteratorHandle(handle, 1);
    }
    return GetCurrent(handle);
}

template <class T>
int32 IIterable<T>::Clear()
{
    return SetCount(0) == 0 ? kResultSuccess : kResultFailure;
}

template <class T>
int32 IIterable<T>::InsertItem(uint32 index, const T& item)
{
    const T kept(item); // an element of this container moves when room is made for it
    const int32 result = Insert(index, 1);
    if (result < 0) {
        return result;
    }
    *GetAt(index) = kept;
    return result;
}

template <class T>
int32 IIterable<T>::RemoveItem(uint32 index, T& removed)
{
    removed = *GetAt(index);
    return Remove(index, 1);
}

template <class T>
int32 IIterable<T>::Append(const IIterable& other)
{
    const uint32 old = GetCount();
    const uint64 total = uint64{old} + other.GetCount();
    if (total <= old) {
        return static_cast<int32>(old);
    }
    if (total > GetMaxCount() ||
        SetCount(static_cast<uint32>(total)) != static_cast<int32>(total)) {
        return kResultFailure;
    }
    // Taken only now: `other` may be this container, whose elements have just moved.
    IteratorT<T> source = other.GetBegin();
    IteratorT<T> target = GetBegin();
    for (uint64 left = total - old; left != 0; --left) {
        const T* const item = source.GetCurrentMoveNext();
        *target.GetCurrentMoveNext() = *item;
    }
    return static_cast<int32>(total);
}

template <class T>
int32 IIterable<T>::AppendItem(const T& item)
{
    return InsertItem(GetCount(), item);
}

template <class T>
int32 IIterable<T>::RemoveLast(T& removed)
{
    return RemoveItem(GetCount() - 1, removed);
}

template <class T>
int32 IIterable<T>::Copy(const IIterable& other)
{
    SetCount(0);
    return Append(other);
}

template <class T>
int32 IIterable<T>::Swap(uint32 left, uint32 right)
{
    if (left >= GetCount() || right >= GetCount()) {
        return kResultOutOfRange;
    }
    const T kept(*GetAt(left));
    *GetAt(left) = *GetAt(right);
    *GetAt(right) = kept;
    return kResultSuccess;
}

template <class T>
void* IArray<T>::OffsetIteratorHandle(void* const& handle, int offset) const
{
    const uint32 count = this->GetCount();
    if (count == 0) {
        return nullptr;
    }
    T* const begin = const_cast<IArray*>(this)->GetPtr();
    // In numbers, not in pointers: the handle may be stale, and pointer arithmetic is defined
    // inside one block only. A distance beyond the limit is outside whatever the offset is.
    constexpr uint64 kLimit = uint64{1} << 33;
    const uint64 from = reinterpret_cast<std::uintptr_t>(begin);
    const uint64 at = reinterpret_cast<std::uintptr_t>(handle);
    const int64 index = at >= from ? static_cast<int64>(std::min((at - from) / sizeof(T), kLimit))
                                   : -static_cast<int64>(std::min((from - at) / sizeof(T), kLimit));
    return begin + std::clamp(index + offset, int64{0}, int64{count});
}

template <class T>
void* IArray<T>::GetIteratorHandleBegin() const
{
    return this->GetCount() == 0 ? nullptr : const_cast<IArray*>(this)->GetPtr();
}

template <class T>
void* IArray<T>::GetIteratorHandleEnd() const
{
    const uint32 count = this->GetCount();
    return count == 0 ? nullptr : const_cast<IArray*>(this)->GetPtr() + count;
}

template <class T>
int32 IArray<T>::Append(const IIterable<T>& other)
{
    const uint32 old = this->GetCount();
    const uint64 total = uint64{old} + other.GetCount();
    if (total <= old) {
        return static_cast<int32>(old);
    }
    if (total > this->GetMaxCount() ||
        this->SetCount(static_cast<uint32>(total)) != static_cast<int32>(total)) {
        return kResultFailure;
    }
    const uint32 added = static_cast<uint32>(total - old);
    // `other` is looked at only now: it may be this array, whose elements have just moved. The
    // destructor of an overwritten element may change both containers, so their blocks and counts
    // are read afresh for each element, and `other` is walked again if it has moved.
    IteratorT<T> first = other.GetBegin();
    IteratorT<T> source = first;
    for (uint32 index = 0; index < std::min({added, this->GetCount(), other.GetCount()}); ++index) {
        if (other.GetBegin() != first) {
            first = other.GetBegin();
            source = first;
            for (uint32 skipped = 0; skipped < index; ++skipped) {
                source.GetCurrentMoveNext();
            }
        }
        this->GetPtr()[index] = *source.GetCurrentMoveNext();
    }
    return static_cast<int32>(total);
}

} // namespace QX
