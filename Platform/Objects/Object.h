// Object.h - the counted header that every Core Foundation object begins with.
//
// An object is a struct that derives from Object alone, so its address is also its header's
// address, and a CFTypeRef can be cast to either. It has no virtual functions, so the compiler can
// initialise constant objects such as kCFRunLoopDefaultMode, and nothing destroys them.
//
//     struct __CFNumber : Standin::Object { ... };
//     CFNumberRef seven = Standin::Make<__CFNumber>(7); // null when there is no memory
#pragma once

#include "Objects/Misuse.h"

#include <CoreFoundation/CFBase.h>

#include <atomic>
#include <cstdlib>
#include <new>
#include <utility>

namespace Standin {

class Object;

/// The type identifiers that CFGetTypeID, CFDataGetTypeID and others return.
enum TypeID : CFTypeID
{
    kNoType = 0,
    kStringType,
    kArrayType,
    kDictionaryType,
    kNumberType,
    kDataType,
    kRunLoopType,
    kRunLoopSourceType,
    kMessagePortType,
    kTypeCount
};

/// What the calls that take any object need to know of one type.
struct Type
{
    TypeID mID;
    const char* mName;
    /// Ends the object's life; the caller frees the memory.
    void (*mDestroy)(Object*);
};

/// The type of an object that has been destroyed and whose memory is not yet used again.
extern const Type kDeadType;

class Object
{
public:
    static constexpr SInt32 kImmortal = 0x7FFFFFFF;

    constexpr explicit Object(const Type& type, SInt32 count = 1)
        : mType(&type)
        , mCount(count)
    {}
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;

    const Type& GetType() const { return *mType; }

    void Retain(const char* call);
    /// Adds a reference and returns true, unless the last one has been released.
    bool TryRetain();
    void Release(const char* call);

private:
    SInt32 GetCount() const { return mCount.load(std::memory_order_relaxed); }

    const Type* mType;
    std::atomic<SInt32> mCount;
};

/// Counts a new object among the live ones.
void CountBirth(TypeID id);

/// Makes an object, followed by `extraBytes` in the same block; null when there is no memory.
template <class T, class... Arguments>
T* MakeWithRoom(std::size_t extraBytes, Arguments&&... arguments)
{
    void* memory = std::malloc(sizeof(T) + extraBytes);
    if (memory == nullptr) {
        return nullptr;
    }
    try {
        T* made = new (memory) T(std::forward<Arguments>(arguments)...);
        CountBirth(made->GetType().mID);
        return made;
    } catch (const std::bad_alloc&) {
        std::free(memory);
        return nullptr;
    }
}

template <class T, class... Arguments>
T* Make(Arguments&&... arguments)
{
    return MakeWithRoom<T>(0, std::forward<Arguments>(arguments)...);
}

template <class T>
void Destroy(Object* object)
{
    static_cast<T*>(object)->~T();
}

/// Returns the header of `reference`, an object of any type. Stops the program if it is null or
/// destroyed.
Object& AnyObject(CFTypeRef reference, const char* call);

[[noreturn]] void WrongObject(CFTypeRef reference, const char* call, const char* wanted);

/// Returns `reference` as an object of the type T. Stops the program if it has another type.
template <class T>
T& As(CFTypeRef reference, const char* call)
{
    auto* object = static_cast<Object*>(const_cast<void*>(reference));
    if (object == nullptr || object->GetType().mID != T::kType.mID) {
        WrongObject(reference, call, T::kType.mName);
    }
    return static_cast<T&>(*object);
}

/// Holds one reference and releases it at the end of the scope.
template <class Reference>
class Held
{
public:
    explicit Held(Reference reference = nullptr)
        : mReference(reference)
    {}
    Held(Held&& other) noexcept
        : mReference(other.Detach())
    {}
    Held& operator=(Held&& other) noexcept
    {
        std::swap(mReference, other.mReference);
        return *this;
    }
    ~Held()
    {
        if (mReference != nullptr) {
            CFRelease(mReference);
        }
    }

    Reference Get() const { return mReference; }
    Reference Detach() { return std::exchange(mReference, nullptr); }

private:
    Reference mReference;
};

/// Adds a reference and returns the object, with its own type.
template <class Reference>
Reference Retained(Reference reference)
{
    CFRetain(reference);
    return reference;
}

} // namespace Standin
