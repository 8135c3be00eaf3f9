// StringArray.h - arrays of values in a standard vector, and the array of strings with lookups.
//
//     StringArrayT<char> names;
//     names.AppendItem("abc");                 // 0, the index
//     names.FindString("ABC", false);          // 0
//     names.FindString("ABC", true);           // -1
//     names.FindContained(names.GetAt(0)->CStr()); // 0
//
// Threads: one at a time, or under the owner's lock.
#pragma once

#include <QX/Iterable.h>
#include <QX/String.h>

#include <vector>

namespace QX {

/// An array of T, which is one of the string classes.
///
/// A string in an array shares its characters with the string that it was copied from, so their
/// address stays the same while the array grows. That holds for unlocked strings: a locked one is
/// copied on its way in, and elements must not be locked, because elements that move are assigned
/// to each other, which cuts a text to the capacity of a locked one.
///
/// Throws: wherever it grows, what the vector throws; nothing changes if it grows at its end.
template <class T>
class Array : public IArray<T>
{
public:
    /// Returns the number of elements.
    uint32 GetCount() const override { return static_cast<uint32>(mItems.size()); }

    /// Returns the first element; in an empty array a pointer that is not to be used.
    T* GetPtr() override { return mItems.data(); }
    const T* GetPtr() const override { return mItems.data(); }

    /// Throws: std::out_of_range for an index not below the count.
    T* GetAt(uint32 index) override { return &mItems.at(index); }
    const T* GetAt(uint32 index) const override { return &mItems.at(index); }

    /// Adds empty elements at the end, or removes the last ones, and returns the count.
    ///
    /// Fails: kResultFailure for a count above GetMaxCount; nothing changes.
    int32 SetCount(uint32 count) override;

    /// Opens `count` empty elements in front of `index` and returns the new count.
    ///
    /// Fails: kResultOutOfRange for an index above the count, kResultFailure for a new count above
    /// GetMaxCount; nothing changes.
    int32 Insert(uint32 index, uint32 count) override;

    /// Removes `count` elements from `index` on and returns the new count.
    ///
    /// Fails: kResultOutOfRange for an index not below the count, also if `count` is 0, and for a
    /// range that leaves the array; nothing changes.
    int32 Remove(uint32 index, uint32 count) override;

    /// Inserts a copy of `item` and returns `index`. Fails: as Insert.
    int32 InsertItem(uint32 index, const T& item) override;

    /// Assigns the element at `index` to `removed`, removes it and returns the new count.
    ///
    /// Throws: as GetAt; nothing changes.
    int32 RemoveItem(uint32 index, T& removed) override;

private:
    auto At(uint32 index) { return mItems.begin() + static_cast<std::ptrdiff_t>(index); }

    std::vector<T> mItems;
};

/// An array of strings that can be searched.
template <class CharT, class OtherT = typename CounterpartOf<CharT>::type>
class StringArrayT : public Array<StringT<CharT, OtherT>>
{
public:
    /// Returns the index of the first element equal to `text`, or -1. Without regard to case,
    /// equality is that of StringT::Compare.
    int32 FindString(const StringT<CharT, OtherT>& text, bool caseSensitive) const;

    /// Returns the index of the last element whose CStr() is the address `data`, or -1. An equal
    /// text at another address is not found.
    int32 FindContained(const CharT* data) const;
};

} // namespace QX

#include <QX/StringArray.inl>
