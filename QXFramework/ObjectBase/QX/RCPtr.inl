// RCPtr.inl - the bodies of the smart pointers; included by RCPtr.h.
#pragma once

#include <QX/ThrowSites.h>

#include <typeinfo>

namespace QX {

template <class T>
ConstRCPtr<T>::ConstRCPtr(T* object)
    : mObject(Acquire(object))
{}

template <class T>
ConstRCPtr<T>::ConstRCPtr(const ConstRCPtr& other)
    : mObject(Acquire(other.mObject))
{}

template <class T>
constexpr ConstRCPtr<T>::ConstRCPtr(ConstRCPtr&& other) noexcept
    : mObject(std::exchange(other.mObject, nullptr))
{}

template <class T>
template <PointerConvertibleTo<T> U>
ConstRCPtr<T>::ConstRCPtr(const ConstRCPtr<U>& other)
    : mObject(Acquire(other.mObject))
{}

template <class T>
ConstRCPtr<T>::~ConstRCPtr()
{
    if (mObject != nullptr) {
        DropOwnReference();
    }
}

template <class T>
void ConstRCPtr<T>::DropOwnReference() noexcept
{
    try {
        mObject->RemoveReference();
    } catch (...) {
        // The reference is gone; a destructor has nobody to tell about a failed dismantling.
    }
}

template <class T>
ConstRCPtr<T>& ConstRCPtr<T>::operator=(const ConstRCPtr& other)
{
    if (mObject == other.mObject) {
        return *this;
    }
    T* const object = Acquire(other.mObject);
    // Last: the old object may own this very pointer, or `other`.
    if (T* const old = std::exchange(mObject, object)) {
        old->RemoveReference();
    }
    return *this;
}

template <class T>
ConstRCPtr<T>& ConstRCPtr<T>::operator=(ConstRCPtr&& other) noexcept
{
    ConstRCPtr taken(std::move(other));
    Swap(taken);
    return *this;
}

template <class T>
void ConstRCPtr<T>::Swap(ConstRCPtr& other) noexcept
{
    std::swap(mObject, other.mObject);
}

// Takes a reference for a new holder of `object` and returns what that holder holds: `object`, or
// its private copy.
template <class T>
inline T* ConstRCPtr<T>::Acquire(T* object)
{
    if (object != nullptr) {
        // Read first: behind the atomic increment it would have to wait for that.
        const bool isShareable = static_cast<LRefCountedObject&>(*object).IsShareable();
        object->AddReference();
        if (!isShareable) [[unlikely]] {
            return ExchangeForOwn(object);
        }
    }
    return object;
}

// Apart from Acquire, which then is small enough to be part of its callers.
template <class T>
T* ConstRCPtr<T>::ExchangeForOwn(T* object)
{
    ConstRCPtr holder;
    holder.mObject = object;
    holder.Unshare();
    return std::exchange(holder.mObject, nullptr);
}

template <class T>
void ConstRCPtr<T>::Unshare()
{
    if (mObject == nullptr || Counted().GetReferenceCount() < 2) {
        return;
    }
    bool copyIsT = false;
    {
        const RCPtr<LRefCountedObject> copy = Counted().CreateCopy();
        const ConstRCPtr typed = Downcast(copy);
        copyIsT = typed != nullptr;
        *this = typed;
    }
    // The shared object may have owned this very pointer, so only the local is asked.
    if (!copyIsT) {
        ThrowException<std::logic_error>(typeid(T).name(), ThrowSites::kRefCountedUnshare);
    }
}

template <class T>
template <class U>
ConstRCPtr<T> ConstRCPtr<T>::Downcast(const ConstRCPtr<U>& object)
{
    return ConstRCPtr(dynamic_cast<T*>(object.mObject));
}

template <class T>
constinit const RCPtr<T> RCPtr<T>::Null;

template <class T>
template <class U>
RCPtr<T> RCPtr<T>::Downcast(const RCPtr<U>& object)
{
    return RCPtr(dynamic_cast<T*>(object.Get()));
}

} // namespace QX
