// RCPtr.h - the two smart pointers that hold counted objects.
//
// A ConstRCPtr<T> gives read access, an RCPtr<T> read and write access; both are one pointer wide,
// and each non-null one is one reference to its object.
//
//     RCPtr<LIBuffer> bytes = LByteBuffer::Create(4, 0, true);
//     ConstRCPtr<LIBuffer> reader = bytes; // count 2
//     bytes.Unshare();                     // `bytes` has a private copy, `reader` the old object
//
// A pointer taken to an object that is marked unshareable and already has a holder gets a private
// copy at once. Moving changes no count and makes no copy, to a base class too.
//
// As a parameter, take `const RCPtr<T>&` to use or keep the object; a by-value parameter counts.
//
// Threads: pointers to one object may be copied and dropped on several threads at once; one pointer
// that several threads use needs a lock as any variable does.
#pragma once

#include <QX/RefCountedObject.h>

#include <concepts>
#include <cstddef>
#include <utility>

namespace QX {

/// A type whose pointers convert to T*: T, or a class derived from it.
template <class U, class T>
concept PointerConvertibleTo = std::convertible_to<U*, T*>;

/// A reference to a counted object, with read access.
template <class T>
class ConstRCPtr
{
public:
    /// Holds no object.
    constexpr ConstRCPtr() noexcept = default;
    constexpr ConstRCPtr(std::nullptr_t) noexcept {}

    /// Stores `object`, which may be null, and takes a reference to it. If the object is then
    /// unshareable and has two or more holders, the pointer gets a copy of its own.
    ///
    /// Throws: what AddReference and CreateCopy throw, and Unshare if the copy is not a T; no count
    /// has changed.
    explicit ConstRCPtr(T* object);
    /// As from a raw pointer: one more reference to the object of `other`.
    ConstRCPtr(const ConstRCPtr& other);
    template <PointerConvertibleTo<T> U>
    ConstRCPtr(const ConstRCPtr<U>& other);

    /// Takes the reference of `other` over, which is null afterwards. No count changes.
    constexpr ConstRCPtr(ConstRCPtr&& other) noexcept;
    template <PointerConvertibleTo<T> U>
    ConstRCPtr(ConstRCPtr<U>&& other) noexcept
        : mObject(std::exchange(other.mObject, nullptr))
    {}
    /// Drops the reference. What the object's RemoveReference throws is swallowed.
    ~ConstRCPtr();

    /// Stores the new object, takes a reference to it as a constructor does, and then drops the old
    /// one. The same object changes no count.
    ///
    /// Throws: as a constructor, with this pointer and all counts unchanged; what the old object's
    /// RemoveReference throws, with this pointer holding the new object.
    ConstRCPtr& operator=(const ConstRCPtr& other);
    /// Takes the reference of `other` over, which is null afterwards, and drops the old one. A
    /// pointer that is moved to itself keeps its object. Assigning null or a pointer to a derived
    /// class moves as well. What the old object's RemoveReference throws is swallowed.
    ConstRCPtr& operator=(ConstRCPtr&& other) noexcept;

    /// Returns the object, which this pointer goes on holding; null if there is none.
    const T* Get() const noexcept { return mObject; }
    /// Requires: not null.
    const T* operator->() const noexcept { return mObject; }
    /// Requires: not null.
    const T& operator*() const noexcept { return *mObject; }
    /// Returns whether there is an object.
    explicit operator bool() const noexcept { return mObject != nullptr; }

    /// Exchanges the objects of two pointers. No count changes.
    void Swap(ConstRCPtr& other) noexcept;
    /// Deleted: it would give write access to an object that is held for reading.
    void Swap(RCPtr<T>& other) = delete;

    /// Gives this holder an object of its own: nothing happens if it is null or the only holder,
    /// otherwise the object is copied and this holder's reference to the shared one is dropped.
    ///
    /// Throws: what CreateCopy throws, with nothing changed; Exception<std::logic_error> naming T
    /// if the copy is not a T, with this pointer null and the reference to the shared object gone;
    /// what the shared object's RemoveReference throws, with the copy held.
    void Unshare();

    /// Returns a pointer to `object` as a T, null if it is null or not a T. It takes a reference,
    /// and throws, as a constructor.
    template <class U>
    static ConstRCPtr Downcast(const ConstRCPtr<U>& object);

protected:
    /// Returns the object for writing.
    T* GetMutable() const noexcept { return mObject; }

private:
    template <class U>
    friend class ConstRCPtr;

    void Init();
    void InitWithOwn();
    void DropOwnReference() noexcept;
    LRefCountedObject& Counted() const noexcept { return *mObject; }

    // Always T*, never const T*: arrays view their raw slots through this member.
    T* mObject = nullptr;
};

/// A reference to a counted object, with write access; the operations are ConstRCPtr's.
template <class T>
class RCPtr : public ConstRCPtr<T>
{
public:
    /// A null pointer that exists before any dynamic initialisation.
    ///
    /// For the framework's own types a program and the shared library that it uses have one object;
    /// each bundle that contains the framework has its own.
    static const RCPtr Null;

    /// As ConstRCPtr.
    constexpr RCPtr() noexcept = default;
    constexpr RCPtr(std::nullptr_t) noexcept {}
    explicit RCPtr(T* object)
        : ConstRCPtr<T>(object)
    {}
    RCPtr(const RCPtr&) = default;
    constexpr RCPtr(RCPtr&&) noexcept = default;
    template <PointerConvertibleTo<T> U>
    RCPtr(const RCPtr<U>& other)
        : ConstRCPtr<T>(other)
    {}
    template <PointerConvertibleTo<T> U>
    RCPtr(RCPtr<U>&& other) noexcept
        : ConstRCPtr<T>(std::move(other))
    {}
    ~RCPtr() = default;
    RCPtr& operator=(const RCPtr&) = default;
    RCPtr& operator=(RCPtr&&) noexcept = default;

    /// As ConstRCPtr, with write access.
    T* Get() const noexcept { return this->GetMutable(); }
    T* operator->() const noexcept { return this->GetMutable(); }
    T& operator*() const noexcept { return *this->GetMutable(); }

    /// Exchanges the objects of two pointers. No count changes.
    void Swap(RCPtr& other) noexcept { ConstRCPtr<T>::Swap(static_cast<ConstRCPtr<T>&>(other)); }

    /// As ConstRCPtr::Downcast.
    template <class U>
    static RCPtr Downcast(const RCPtr<U>& object);
};

/// Smart pointers are equal if they hold the same object.
template <class T, class U>
requires requires(const T* left, const U* right)
{
    left == right;
}
bool operator==(const ConstRCPtr<T>& left, const ConstRCPtr<U>& right) noexcept
{
    return left.Get() == right.Get();
}
/// Returns whether the pointer holds no object.
template <class T>
bool operator==(const ConstRCPtr<T>& pointer, std::nullptr_t) noexcept
{
    return pointer.Get() == nullptr;
}

template <>
QX_API const RCPtr<LRefCountedObject> RCPtr<LRefCountedObject>::Null;

} // namespace QX

#include <QX/RCPtr.inl>
