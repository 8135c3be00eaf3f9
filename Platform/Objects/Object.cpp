// Object.cpp - reference counts, the number of live objects, and the calls that take any object.

#include "Objects/Object.h"

#include <Standin/LiveObjects.h>

namespace Standin {

const Type kDeadType = {kNoType, "released object", nullptr};

namespace {

// The memory of the last destroyed objects of a type is kept for a while. One release too many then
// finds a header that is marked as dead, and not the memory of another object.
constexpr UInt32 kGraves = 16;

/// The objects of one type.
struct Population
{
    std::atomic<UInt32> mBirths;
    std::atomic<UInt32> mDeaths; ///< also the number of the next grave
    std::atomic<Object*> mGraves[kGraves];
};

Population gPopulations[kTypeCount];

void Bury(Object* object)
{
    const Type& type = object->GetType();
    Population& population = gPopulations[type.mID];
    type.mDestroy(object);

    Object* dead = new (static_cast<void*>(object)) Object(kDeadType, 0);
    const UInt32 grave = population.mDeaths.fetch_add(1, std::memory_order_release) % kGraves;
    std::free(population.mGraves[grave].exchange(dead, std::memory_order_acq_rel));
}

} // namespace

void CountBirth(TypeID id)
{
    gPopulations[id].mBirths.fetch_add(1, std::memory_order_relaxed);
}

void Object::Retain(const char* call)
{
    if (GetCount() == kImmortal) {
        return;
    }
    if (mCount.fetch_add(1, std::memory_order_relaxed) <= 0) {
        Misuse(call, "the object has already been released for the last time");
    }
}

bool Object::TryRetain()
{
    SInt32 count = GetCount();
    while (count > 0 && !mCount.compare_exchange_weak(count, count + 1)) {
    }
    return count > 0;
}

void Object::Release(const char* call)
{
    const SInt32 count = mCount.load(std::memory_order_acquire);
    if (count == kImmortal) {
        return;
    }
    // No other thread can reach an object that has one holder, except a port by its name. So the
    // atomic subtraction, which takes longest in a short life, is left out.
    if (count == 1 && mType->mID != kMessagePortType) {
        mCount.store(0, std::memory_order_relaxed); // its destructor must not find it alive
        Bury(this);
        return;
    }
    const SInt32 before = mCount.fetch_sub(1, std::memory_order_acq_rel);
    if (before <= 0) {
        Misuse(call, "the object has already been released for the last time");
    }
    if (before == 1) {
        Bury(this);
    }
}

Object& AnyObject(CFTypeRef reference, const char* call)
{
    auto* object = static_cast<Object*>(const_cast<void*>(reference));
    if (object == nullptr) {
        Misuse(call, "the object is null");
    }
    if (object->GetType().mID == kNoType) {
        Misuse(call, "the object has already been released for the last time");
    }
    return *object;
}

void WrongObject(CFTypeRef reference, const char* call, const char* wanted)
{
    const Object& object = AnyObject(reference, call);
    // Makes "the object is a CFData, not a "; Misuse writes `wanted` after it.
    const char* const found = object.GetType().mName;
    char text[64] = "the object is a ";
    std::size_t length = sizeof("the object is a ") - 1;
    for (const char* part : {found, ", not a "}) {
        for (; *part != '\0' && length + 1 < sizeof text; ++part) {
            text[length++] = *part;
        }
    }
    text[length] = '\0';
    Misuse(call, text, wanted);
}

} // namespace Standin

CFTypeID CFGetTypeID(CFTypeRef cf)
{
    return Standin::AnyObject(cf, "CFGetTypeID").GetType().mID;
}

CFTypeRef CFRetain(CFTypeRef cf)
{
    Standin::AnyObject(cf, "CFRetain").Retain("CFRetain");
    return cf;
}

void CFRelease(CFTypeRef cf)
{
    Standin::AnyObject(cf, "CFRelease").Release("CFRelease");
}

SInt32 StandinGetLiveObjectCount(CFTypeID typeID)
{
    if (typeID >= Standin::kTypeCount) {
        return 0;
    }
    const Standin::Population& population = Standin::gPopulations[typeID];
    // Deaths are read first: the births of these objects are then counted already.
    const UInt32 deaths = population.mDeaths.load(std::memory_order_acquire);
    return static_cast<SInt32>(population.mBirths.load(std::memory_order_relaxed) - deaths);
}

SInt32 StandinGetTotalLiveObjectCount(void)
{
    SInt32 total = 0;
    for (CFTypeID id = 0; id < Standin::kTypeCount; ++id) {
        total += id != Standin::kRunLoopType ? StandinGetLiveObjectCount(id) : 0;
    }
    return total;
}
