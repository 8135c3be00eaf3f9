// StringArray.inl - the bodies of the arrays of strings; included by StringArray.h.
#pragma once

namespace QX {

template <class T>
int32 Array<T>::SetCount(uint32 count)
{
    if (count > this->GetMaxCount()) {
        return kResultFailure;
    }
    mItems.resize(count);
    return static_cast<int32>(count);
}

template <class T>
int32 Array<T>::Insert(uint32 index, uint32 count)
{
    if (index > GetCount()) {
        return kResultOutOfRange;
    }
    if (count > this->GetMaxCount() - GetCount()) {
        return kResultFailure;
    }
    mItems.insert(At(index), count, T());
    return static_cast<int32>(GetCount());
}

template <class T>
int32 Array<T>::Remove(uint32 index, uint32 count)
{
    if (index >= GetCount() || count > GetCount() - index) {
        return kResultOutOfRange;
    }
    mItems.erase(At(index), At(index + count));
    return static_cast<int32>(GetCount());
}

template <class T>
int32 Array<T>::InsertItem(uint32 index, const T& item)
{
    if (index > GetCount()) {
        return kResultOutOfRange;
    }
    if (GetCount() >= this->GetMaxCount()) {
        return kResultFailure;
    }
    // One by count: inlined, GCC 12 takes the insertion of a single item for one into an array of
    // no items, and warns about its bounds.
    mItems.insert(At(index), 1, item);
    return static_cast<int32>(index);
}

template <class T>
int32 Array<T>::RemoveItem(uint32 index, T& removed)
{
    removed = *GetAt(index);
    return Remove(index, 1);
}

template <class CharT, class OtherT>
int32 StringArrayT<CharT, OtherT>::FindString(const StringT<CharT, OtherT>& text,
                                              bool caseSensitive) const
{
    const uint32 count = this->GetCount();
    const StringT<CharT, OtherT>* const items = this->GetPtr();
    for (uint32 index = 0; index < count; ++index) {
        if (caseSensitive ? items[index].IsEqual(text) : items[index].Compare(text, false) == 0) {
            return static_cast<int32>(index);
        }
    }
    return -1;
}

template <class CharT, class OtherT>
int32 StringArrayT<CharT, OtherT>::FindContained(const CharT* data) const
{
    const StringT<CharT, OtherT>* const items = this->GetPtr();
    for (uint32 index = this->GetCount(); index != 0; --index) {
        if (items[index - 1].CStr() == data) {
            return static_cast<int32>(index - 1);
        }
    }
    return -1;
}

} // namespace QX
