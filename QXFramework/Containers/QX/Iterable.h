// Iterable.h - the interfaces that every container of the framework shares, and their iterator.
//
// Operations answer with an int32: a count or an index, or a negative result code.
//
//     array.InsertItem(0, item);          // 0, the index
//     array.Swap(0, 9);                   // kResultOutOfRange; nothing has changed
//     auto walk = array.GetBegin();
//     for (uint32 left = array.GetCount(); left != 0; --left) {
//         Use(*walk.GetCurrentMoveNext());
//     }
//
// A walk is counted, never compared with the end: an iterator that is past the end stays there,
// and the position that it then returns holds no element.
//
// Threads: no container locks; one thread at a time, or under the owner's lock.
#pragma once

#include <QX/Types.h>

namespace QX {

template <class T>
class IIterable;

/// A position in a container. It owns nothing and is valid until the container changes.
template <class T>
class IteratorT
{
public:
    /// Stands at a handle of `container`, which outlives the iterator.
    IteratorT(IIterable<T>& container, void* handle) noexcept
        : mContainer(&container)
        , mHandle(handle)
    {}

    /// Moves on by one element and returns the element that was current before.
    ///
    /// At the end it returns the end position, which holds no element, and stays there.
    T* GetCurrentMoveNext();

    /// Iterators are equal if they are at the same position of the same container.
    friend bool operator==(const IteratorT& left, const IteratorT& right)
    {
        return left.mContainer == right.mContainer && left.mHandle == right.mHandle;
    }

private:
    friend class IIterable<T>;

    IIterable<T>* mContainer;
    void* mHandle; ///< a position; the container defines what it is
};

/// A sequence of T that is reached by index or walked through opaque handles.
template <class T>
class IIterable
{
public:
    // Slot order is fixed; append only.

    /// Returns the number of elements.
    virtual uint32 GetCount() const = 0;

    /// Returns the largest number of elements that a container can have.
    virtual uint32 GetMaxCount() const { return 0x7FFFFFFF; }

    /// Returns an iterator at the first element; the const form returns the same one.
    virtual IteratorT<T> GetBegin();
    virtual IteratorT<T> GetBegin() const;

    /// Returns an iterator one past the last element; the const form returns the same one.
    virtual IteratorT<T> GetEnd();
    virtual IteratorT<T> GetEnd() const;

    /// Returns the element at a handle of this container.
    virtual T* GetCurrent(void* const& handle) = 0;
    virtual const T* GetCurrent(void* const& handle) const;

    /// Returns the element at `index`. Nothing checks the index here: an index past the end gives
    /// the end position.
    virtual const T* GetAt(uint32 index) const;
    virtual T* GetAt(uint32 index);

    /// Returns the handle `offset` elements further on, at most the end and at least the beginning;
    /// a handle that is no longer valid gives a position of this container too.
    virtual void* OffsetIteratorHandle(void* const& handle, int offset) const = 0;
    /// Returns the handle of the first element, null in an empty array.
    virtual void* GetIteratorHandleBegin() const = 0;
    /// Returns the handle one past the last element, null in an empty array.
    virtual void* GetIteratorHandleEnd() const = 0;

    /// Adds default elements at the end, or removes the last ones, and returns the count reached.
    /// Fails: kResultFailure if there is no room; nothing changes.
    virtual int32 SetCount(uint32 count) = 0;

    /// Opens `count` default elements in front of the one at `index` and returns the new count.
    /// Fails: kResultOutOfRange for an index above the count, kResultFailure if there is no room;
    /// nothing changes.
    virtual int32 Insert(uint32 index, uint32 count) = 0;

    /// Removes `count` elements from `index` on and returns the new count. The arrays say what they
    /// do if there are fewer.
    virtual int32 Remove(uint32 index, uint32 count) = 0;

    /// Removes every element. Fails: kResultFailure if elements are left.
    virtual int32 Clear();

    /// Inserts a copy of `item`, which may be an element of this container, in front of `index`.
    ///
    /// Returns what Insert returns; the arrays return `index` instead. Fails: as Insert.
    virtual int32 InsertItem(uint32 index, const T& item);

    /// Assigns the element at `index` to `removed`, removes it, and returns what Remove returns.
    virtual int32 RemoveItem(uint32 index, T& removed);

    /// Grows by the count of `other` and returns the new count, then assigns the elements of
    /// `other` to this container's *first* elements.
    ///
    /// In an empty container the result is a copy of `other`. In any other it overwrites: ["x"]
    /// appended to ["a", "b"] gives ["x", "b", ""]. An array whose elements' destructors shorten
    /// either container stops there and still returns the count that it had reached. Fails:
    /// kResultFailure if the count cannot be reached; nothing changes.
    virtual int32 Append(const IIterable& other);

    /// Inserts a copy of `item` after the last element; as InsertItem.
    virtual int32 AppendItem(const T& item);

    /// As RemoveItem with the last index, which for an empty container is 0xFFFFFFFF.
    virtual int32 RemoveLast(T& removed);

    /// Replaces all elements by those of `other` and returns their number. A copy of a container
    /// to itself empties it. Fails: as Append; the container is empty then.
    virtual int32 Copy(const IIterable& other);

    /// Exchanges two elements through a temporary copy. Fails: kResultOutOfRange; nothing changes.
    virtual int32 Swap(uint32 left, uint32 right);

    /// Returns the first element.
    virtual T* GetPtr() = 0;
    virtual const T* GetPtr() const = 0;

    virtual ~IIterable() = default;

protected:
    /// Containers are made and copied by the classes that implement them.
    IIterable() = default;
    IIterable(const IIterable&) = default;
    IIterable& operator=(const IIterable&) = default;
};

/// An iterable whose elements lie side by side in memory: a handle is the address of an element,
/// or null in an empty array.
template <class T>
class IArray : public IIterable<T>
{
public:
    using IIterable<T>::GetCurrent;
    /// A handle is the address of its element.
    T* GetCurrent(void* const& handle) override { return static_cast<T*>(handle); }

    /// Returns GetPtr() + index; concrete arrays say whether they check.
    const T* GetAt(uint32 index) const override { return this->GetPtr() + index; }
    T* GetAt(uint32 index) override { return this->GetPtr() + index; }

    /// As IIterable says.
    void* OffsetIteratorHandle(void* const& handle, int offset) const override;
    void* GetIteratorHandleBegin() const override;
    void* GetIteratorHandleEnd() const override;

    /// As IIterable says.
    int32 Append(const IIterable<T>& other) override;

    using IIterable<T>::GetPtr;
    /// Returns what the other form does.
    const T* GetPtr() const override { return const_cast<IArray*>(this)->GetPtr(); }

protected:
    /// As IIterable.
    IArray() = default;
    IArray(const IArray&) = default;
    IArray& operator=(const IArray&) = default;
};

} // namespace QX

#include <QX/Iterable.inl>
