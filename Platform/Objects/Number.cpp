// Number.cpp - numbers and the two booleans.

#include "Objects/Number.h"

#include <cmath>
#include <cstring>
#include <limits>

namespace {

bool EqualNumber(const Standin::Object* left, const Standin::Object* right)
{
    const auto& one = *static_cast<const __CFNumber*>(left);
    const auto& other = *static_cast<const __CFNumber*>(right);
    // A NaN equals a NaN: a number is equal to what is read from its own text.
    return one.IsReal() == other.IsReal() && one.mInteger == other.mInteger &&
           (one.mReal == other.mReal || (std::isnan(one.mReal) && std::isnan(other.mReal)));
}

CFHashCode HashNumber(const Standin::Object* object)
{
    const auto& number = *static_cast<const __CFNumber*>(object);
    const Float64 real =
        std::isnan(number.mReal) ? std::numeric_limits<Float64>::quiet_NaN() : number.mReal;
    return static_cast<CFHashCode>(number.mInteger) ^
           static_cast<CFHashCode>(std::hash<Float64>()(real));
}

CFNumberType TypeByWidth(CFNumberType type)
{
    switch (type) {
    case kCFNumberCharType:
        return kCFNumberSInt8Type;
    case kCFNumberShortType:
        return kCFNumberSInt16Type;
    case kCFNumberIntType:
    case kCFNumberCFIndexType:
        return kCFNumberSInt32Type;
    case kCFNumberLongType:
        return sizeof(long) == 4 ? kCFNumberSInt32Type : kCFNumberSInt64Type;
    case kCFNumberLongLongType:
        return kCFNumberSInt64Type;
    case kCFNumberFloatType:
        return kCFNumberFloat32Type;
    case kCFNumberDoubleType:
        return kCFNumberFloat64Type;
    default:
        return type;
    }
}

template <class T>
T Read(const void* from)
{
    T value;
    std::memcpy(&value, from, sizeof value);
    return value;
}

template <class T>
void Write(void* to, T value)
{
    std::memcpy(to, &value, sizeof value);
}

/// The integer nearest to `real` toward zero, saturated; a NaN gives 0.
SInt64 Truncated(Float64 real)
{
    constexpr Float64 kLimit = 9223372036854775808.0;
    if (std::isnan(real)) {
        return 0;
    }
    if (real >= kLimit) {
        return std::numeric_limits<SInt64>::max();
    }
    return real < -kLimit ? std::numeric_limits<SInt64>::min() : static_cast<SInt64>(real);
}

template <class T>
bool StoreInteger(const __CFNumber& number, void* to)
{
    const SInt64 integer = number.IsReal() ? Truncated(number.mReal) : number.mInteger;
    const T stored = static_cast<T>(integer);
    Write(to, stored);
    return stored == integer && (!number.IsReal() || static_cast<Float64>(integer) == number.mReal);
}

template <class T>
bool StoreReal(const __CFNumber& number, void* to)
{
    const Float64 real = number.IsReal() ? number.mReal : static_cast<Float64>(number.mInteger);
    const T stored = static_cast<T>(real);
    Write(to, stored);
    if (number.IsReal()) {
        return static_cast<Float64>(stored) == real || std::isnan(real);
    }
    return Truncated(static_cast<Float64>(stored)) == number.mInteger;
}

constinit __CFBoolean gTrue(true);
constinit __CFBoolean gFalse(false);

} // namespace

constinit const Standin::Type __CFNumber::kType = {
    Standin::kNumberType, "CFNumber", &Standin::Destroy<__CFNumber>, &EqualNumber, &HashNumber};
constinit const Standin::Type __CFBoolean::kType = {Standin::kBooleanType, "CFBoolean", nullptr,
                                                    nullptr, nullptr};

const CFBooleanRef kCFBooleanTrue = &gTrue;
const CFBooleanRef kCFBooleanFalse = &gFalse;

CFTypeID CFBooleanGetTypeID(void)
{
    return Standin::kBooleanType;
}

Boolean CFBooleanGetValue(CFBooleanRef boolean)
{
    return Standin::As<__CFBoolean>(boolean, "CFBooleanGetValue").mValue;
}

CFTypeID CFNumberGetTypeID(void)
{
    return Standin::kNumberType;
}

CFNumberRef CFNumberCreate(CFAllocatorRef, CFNumberType theType, const void* valuePtr)
{
    if (valuePtr == nullptr) {
        Standin::Misuse("CFNumberCreate", "the value's address is null");
    }
    const CFNumberType type = TypeByWidth(theType);
    switch (type) {
    case kCFNumberSInt8Type:
        return Standin::Make<__CFNumber>(type, Read<SInt8>(valuePtr), 0.0);
    case kCFNumberSInt16Type:
        return Standin::Make<__CFNumber>(type, Read<SInt16>(valuePtr), 0.0);
    case kCFNumberSInt32Type:
        return Standin::Make<__CFNumber>(type, Read<SInt32>(valuePtr), 0.0);
    case kCFNumberSInt64Type:
        return Standin::Make<__CFNumber>(type, Read<SInt64>(valuePtr), 0.0);
    case kCFNumberFloat32Type:
        return Standin::Make<__CFNumber>(type, 0, static_cast<Float64>(Read<Float32>(valuePtr)));
    case kCFNumberFloat64Type:
        return Standin::Make<__CFNumber>(type, 0, Read<Float64>(valuePtr));
    default:
        Standin::Misuse("CFNumberCreate", "the number type does not exist");
    }
}

CFNumberType CFNumberGetType(CFNumberRef number)
{
    return Standin::As<__CFNumber>(number, "CFNumberGetType").mType;
}

Boolean CFNumberIsFloatType(CFNumberRef number)
{
    return Standin::As<__CFNumber>(number, "CFNumberIsFloatType").IsReal();
}

Boolean CFNumberGetValue(CFNumberRef number, CFNumberType theType, void* valuePtr)
{
    const auto& from = Standin::As<__CFNumber>(number, "CFNumberGetValue");
    if (valuePtr == nullptr) {
        Standin::Misuse("CFNumberGetValue", "the value's address is null");
    }
    switch (TypeByWidth(theType)) {
    case kCFNumberSInt8Type:
        return StoreInteger<SInt8>(from, valuePtr);
    case kCFNumberSInt16Type:
        return StoreInteger<SInt16>(from, valuePtr);
    case kCFNumberSInt32Type:
        return StoreInteger<SInt32>(from, valuePtr);
    case kCFNumberSInt64Type:
        return StoreInteger<SInt64>(from, valuePtr);
    case kCFNumberFloat32Type:
        return StoreReal<Float32>(from, valuePtr);
    case kCFNumberFloat64Type:
        return StoreReal<Float64>(from, valuePtr);
    default:
        Standin::Misuse("CFNumberGetValue", "the number type does not exist");
    }
}
