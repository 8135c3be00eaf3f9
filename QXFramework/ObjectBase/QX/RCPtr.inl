// RCPtr.inl - the bodies of the smart pointers; included by RCPtr.h.
#pragma once

#include <QX/ThrowSites.h>

#include <typeinfo>

namespace QX {

template <class T>
inline ConstRCPtr<T>::ConstRCPtr(T* object)
    : mObject(object)
{
    Init();
}

template <class T>
inline ConstRCPtr<T>::ConstRCPtr(const ConstRCPtr& other)
    : mObject(other.mObject)
{
    Init();
}

template <class T>
constexpr ConstRCPtr<T>::ConstRCPtr(ConstRCPtr&& other) noexcept
    : mObject(std::exchange(other.mObject, nullptr))
{}

template <class T>
template <PointerConvertibleTo<T> U>
inline ConstRCPtr<T>::ConstRCPtr(const ConstRCPtr<U>& other)
    : mObject(other.mObject)
{
    Init();
}

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
        // The reference is gone; a destructor cannot report what the dismantling threw.
    }
}

template <class T>
ConstRCPtr<T>& ConstRCPtr<T>::operator=(const ConstRCPtr& other)
{
    if (mObject == other.mObject) {
        return *this;
    }
    T* const old = std::exchange(mObject, other.mObject);
    try {
        Init();
    } catch (...) {
        mObject = old;
        throw;
    }
    // Last: the old object may own this pointer, or `other`.
    if (old != nullptr) {
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

// Takes the reference of a pointer that has just been stored. The mark is read after that, because
// AddReference may change it.
template <class T>
inline void ConstRCPtr<T>::Init()
{
    T* const object = mObject;
    if (object != nullptr) {
        object->AddReference();
        if (!static_cast<LRefCountedObject&>(*object).IsShareable()) [[unlikely]] {
            InitWithOwn();
        }
    }
}

// A function of its own, so that Init is small enough to be inlined. If there is no copy, the
// reference is given back and the pointer is null.
template <class T>
void ConstRCPtr<T>::InitWithOwn()
{
    try {
        Unshare();
    } catch (...) {
        *this = nullptr;
        throw;
    }
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
    // The shared object may have owned this pointer and be gone, so only the local is read.
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
